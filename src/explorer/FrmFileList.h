#pragma once

#include "NavigationHistory.h"
#include "core/Result.h"

#include <QMainWindow>
#include <QStyle>

#include <array>
#include <functional>

class PageView;
class PreviewRenderer;
class QLabel;
class QLineEdit;
class QMenu;
class QSplitter;
class QToolButton;
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
    PageView* picOle() const { return m_picOle; }
    QString helpFile() const { return m_helpFile; }
    // The document the preview shows (or is making); "" for the blank page.
    QString SourceDoc() const { return m_sourceDoc; }
    QString PreviewState() const { return m_previewState; }
    const NavigationHistory& history() const { return m_history; }

    void txtAddress_KeyPress(int keyAscii);
    void LoadDrives();
    void LoadRecentDocs();

    // The File menu's document commands: each hands a document to the office suite's visible
    // writer. Opening fails with "The document name or path is not valid".
    void NewWordDocument();
    void ChooseWordDocument();
    void OpenWordDocument(const QString& path);
    void MnuRecentDoc_Click(int index);

    // The two grips, as a drag that ends at a position in twips (left of the tree grip, top of
    // the list grip, both from the window's edge) lets go of them.
    void imgSplitter_MouseUp(double left);
    void imgSpltList_MouseUp(double top);

signals:
    // The commands that open the other windows; the program connects them.
    void mailingListRequested();
    void searchRequested();
    void settingsRequested();
    void logRequested();

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildMenus();
    void buildPopupMenus();
    QWidget* buildToolbar();
    QWidget* buildAddressBar();
    struct SmallButton
    {
        QString name;
        QString tip;
        QStyle::StandardPixmap icon;
    };
    // A strip with a pair of small buttons, the first shown; a click hands the button's index on.
    QWidget* buttonPair(QWidget* parent, const QString& name, Qt::Orientation orientation,
                        const std::array<SmallButton, 2>& looks, QToolButton* (&buttons)[2],
                        void (FrmFileList::*click)(int));
    QWidget* buildTreePane();
    QWidget* buildListPane();
    QWidget* buildPreviewPane();
    void buildPanes();
    // Nests the panes: the preview under the list (the default and the widened preview), or
    // under tree and list together (the big preview).
    void arrangePanes();

    void Form_Resize();
    void Form_Unload();
    // Places the panes from the tree grip X and the list grip Y, in twips.
    void SizeControls(double x, double y);
    double listSplitterTop() const;
    // The top of the list and preview panes, in pixels below the menu bar.
    int panesTop() const;

    // The folder tree.
    void tvList_Expand(QTreeWidgetItem* node);
    void tvList_NodeClick();
    void tvList_MouseDown(const QPoint& position);
    void tvList_AfterLabelEdit(QTreeWidgetItem* node);
    void fillTwoLevels(QTreeWidgetItem* node);
    QTreeWidgetItem* nodeByKey(const QString& key) const;

    // The document list.
    void fillDocumentList(const QString& folder);
    void lvList_ItemClick(QTreeWidgetItem* item);
    void lvList_DblClick();
    void lvList_ColumnClick(int column);
    void lvList_MouseDown(const QPoint& position);
    void lvList_AfterLabelEdit(QTreeWidgetItem* item);
    void MnuRename_Click();
    void MnuSelall_Click();
    QList<QTreeWidgetItem*> selectedDocuments() const;

    // Navigation.
    void PushHistory();
    void SetAddressIcon();
    void lblBack_Click();
    void lblForward_Click();
    void lblUp_Click();
    void GoToAddress();
    void showHistoryStep(const NavigationHistory::Step& step);
    void showHistoryButtons();
    // The address box names the special folders by their names.
    void fixAddressText();

    // File and folder operations.
    void MnuDelete_Click();
    void mnuMoveFile_Click();
    void mnuCopyFile_Click();
    void MnuCutFolder_Click();
    void MnuCopyFolder_Click();
    void MnuPasteFolder_Click();
    void MnuFolderDelete_Click();
    void MnuFolderRename_Click();
    // The label edit of the current item of the tree or the list.
    void beginLabelEdit(QTreeWidget* view);
    void putFolderOnClip(const QString& mode);
    // Applies a delete or a move to each selected document, from the bottom up; a document
    // that went leaves the list, and the failures are told together.
    void takeSelectedDocuments(const std::function<Status(const QString&)>& operation);
    static void reportFailures(const QStringList& failures);

    // The preview and the layouts.
    void LoadDoc();
    void CreateLink(const QString& path);
    void closePreview();
    void showPage(const QString& path, const QImage& page);
    void SetPreviewScrollBars();
    void showNoItemSelected();
    void Pic1_Click(int index);
    void Picv2_Click(int index);
    void WidenPreview();
    void RestorePreview();
    void BigPreview();
    void MnuDefLayOut_Click();
    void MnuBPPLayOut_Click();
    void MnuRstLayout_Click();

    void lblViewLog_Click();
    void MnuWHelp_Click();
    void mnuFeatures_Click();
    void MnuAbtW_Click();

    bool m_loading = false;
    bool m_positionsLoaded = false;
    QString m_imgtopTag;
    QString m_helpFile;
    // "TxtAddress" while an address typed in the box is being carried out.
    QString m_lblAddHeaderTag;
    QString m_oldLabel;
    QString m_folderClip;
    QString m_previewState;
    QString m_sourceDoc;
    // The tree grip's last place above 500 twips, kept while the tree is hidden.
    QString m_imgSplitterTag;
    double m_splitterLeft = 3660;
    double m_listTop = 3000;
    bool m_sorted = false;
    int m_sortKey = 0;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
    NavigationHistory m_history;

    QMenu* m_mnuFile = nullptr;
    QAction* m_mnuLin2 = nullptr;
    QList<QAction*> m_mnuRecentDoc;
    QMenu* m_mnuWordProperties = nullptr;
    QMenu* m_mnuFolder = nullptr;
    QWidget* m_imgtop = nullptr;
    QLineEdit* m_txtAddress = nullptr;
    QLabel* m_imgAddress = nullptr;
    QWidget* m_panes = nullptr;
    QSplitter* m_imgSplitter = nullptr;
    QSplitter* m_imgSpltList = nullptr;
    QWidget* m_treePane = nullptr;
    QWidget* m_treeColumn = nullptr;
    QWidget* m_listPane = nullptr;
    QWidget* m_previewPane = nullptr;
    QLabel* m_lblFolder = nullptr;
    QWidget* m_picView2 = nullptr;
    QToolButton* m_pic1[2] = {};
    QToolButton* m_picv2[2] = {};
    QTreeWidget* m_tvList = nullptr;
    QTreeWidget* m_lvList = nullptr;
    QLabel* m_lblNoItems = nullptr;
    QLabel* m_lblFileName = nullptr;
    QLabel* m_lblCreated = nullptr;
    QLabel* m_fraNoItems = nullptr;
    QLabel* m_lblPreviewState = nullptr;
    PageView* m_picOle = nullptr;
    PreviewRenderer* m_renderer = nullptr;
};
