#pragma once

#include <QMainWindow>

#include <functional>

class QLabel;
class QLineEdit;
class QMenu;
class QSplitter;
class QTreeWidget;
class QTreeWidgetItem;
class QAction;
class QWidget;

// The main window: the folder tree, the document list, the preview pane, the toolbar with its
// address bar, and the menus from which the other windows open.
class FrmFileList : public QMainWindow
{
    Q_OBJECT

public:
    explicit FrmFileList(QWidget* parent = nullptr);

    // The start-up fill, reporting its progress texts ("Initializing Drives...", …).
    void Form_Load(const std::function<void(const QString&)>& progress);

    QTreeWidget* tvList() const { return m_tvList; }
    QTreeWidget* lvList() const { return m_lvList; }
    QLineEdit* txtAddress() const { return m_txtAddress; }
    QString helpFile() const { return m_helpFile; }

    void txtAddress_KeyPress(int keyAscii);
    void LoadDrives();
    void LoadRecentDocs();

    // The File menu's document commands: each hands a document to the office suite's visible
    // writer. Opening fails with "The document name or path is not valid".
    void NewWordDocument();
    void ChooseWordDocument();
    void OpenWordDocument(const QString& path);
    void MnuRecentDoc_Click(int index);

signals:
    // The commands that open the other windows; the program connects them.
    void mailingListRequested();
    void searchRequested();
    void settingsRequested();
    void logRequested();

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildMenus();
    QWidget* buildToolbar();
    QWidget* buildAddressBar();
    QWidget* buildPanes();

    void Form_Resize();
    void Form_Unload();
    // Places the panes from the tree splitter X and the list splitter Y, in twips.
    void SizeControls(double x, double y);
    double splitterLeft() const;
    double listSplitterTop() const;
    // The top of the list and preview panes, in pixels below the menu bar.
    int panesTop() const;

    void tvList_Expand(QTreeWidgetItem* node);
    void tvList_NodeClick();
    void fillDocumentList(const QString& folder);
    void selectNodeByKey(const QString& key);

    void lblViewLog_Click();
    void MnuWHelp_Click();
    void mnuFeatures_Click();
    void MnuAbtW_Click();

    bool m_loading = false;
    bool m_positionsLoaded = false;
    QString m_imgtopTag;
    QString m_helpFile;

    QMenu* m_mnuFile = nullptr;
    QAction* m_mnuLin2 = nullptr;
    QList<QAction*> m_mnuRecentDoc;
    QWidget* m_imgtop = nullptr;
    QLabel* m_backDisabled = nullptr;
    QLineEdit* m_txtAddress = nullptr;
    QSplitter* m_imgSplitter = nullptr;
    QSplitter* m_imgSpltList = nullptr;
    QTreeWidget* m_tvList = nullptr;
    QTreeWidget* m_lvList = nullptr;
    QLabel* m_lblNoItems = nullptr;
    QLabel* m_lblFileName = nullptr;
    QLabel* m_lblCreated = nullptr;
    QLabel* m_fraNoItems = nullptr;
    QWidget* m_picOle = nullptr;
};
