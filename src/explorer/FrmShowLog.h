#pragma once

#include <QWidget>

class QLabel;
class QStatusBar;
class QTimer;
class QTreeWidget;
class QTreeWidgetItem;

// "Quillbay+ : Last 50 Documents Log": the documents of "Log.Dat", newest on top, each of which
// opens again in the office suite's visible writer on a double click or Enter. The log is read
// a moment after the window is made, so that the window is painted first; a log without a
// usable line closes the window again without a word.
class FrmShowLog : public QWidget
{
    Q_OBJECT

public:
    // The one instance, made (and its Form_Load run) on first use after each unload.
    static FrmShowLog* instance();

    void AddLogEntry(const QString& line);
    void lvList_ItemClick(QTreeWidgetItem* item);
    void lvList_DblClick();

    QTreeWidget* lvList;
    QStatusBar* SbStatus;
    QLabel* SbStatusPanel1;
    QTimer* tmrStart;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    explicit FrmShowLog(QWidget* parent = nullptr);
    void Form_Load();
    void Form_Resize();
    void Form_Unload();
    void tmrStart_Timer();
    void LoadLog();
};
