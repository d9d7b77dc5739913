#pragma once

#include "SearchRun.h"

#include <QWidget>

#include <array>
#include <memory>

class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QStatusBar;
class QTreeWidget;
class QTreeWidgetItem;
class QToolButton;

// "Quillbay+ : Search Documents": finds Word documents by name and by the words inside them,
// and can replace words in every document it hits.
class FrmSearch : public QWidget
{
    Q_OBJECT

public:
    // The one instance, made (and its Form_Load run) on first use after each unload.
    static FrmSearch* instance();

    void RunSearch();
    void UpdateFindButtons();
    void chkOptions_Click(int index);
    void MnuDelete_Click();
    QStringList criteriaHistory() const;

    QComboBox* CboCriteria;
    QLineEdit* TxtFolder;
    QToolButton* CmdBrowse;
    QLineEdit* txtwords;
    QCheckBox* ChkIncSubFolder;
    std::array<QCheckBox*, 3> chkOptions;
    QCheckBox* chkReplace;
    QLineEdit* txtReplace;
    std::array<QPushButton*, 4> CmdFind;
    QTreeWidget* lvList;
    QLabel* txtNoItems;
    QLabel* SbStatusPanel1;
    QLabel* SbStatusPanel2;
    QMenu* MnuOperations;

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    explicit FrmSearch(QWidget* parent = nullptr);
    void buildControls();
    void Form_Load();
    void Form_Unload();
    void Form_Resize();
    void LockSearchControls();
    void UnlockSearchControls();
    void RememberCriteria();
    void CmdFind_Click(int index);
    void CmdBrowse_Click();
    void lvList_ColumnClick(int column);
    void lvList_MouseUp(const QPoint& position);
    void OpenFoundDocument(const QString& path);
    void addRow(const ResultRow& row);

    bool m_stopFlag = false;
    bool m_running = false;
    bool m_closeWhenDone = false;
    bool m_sortDescending = false;
};
