#pragma once

#include <QDialog>

class QCheckBox;
class QLabel;
class QPushButton;

// "Quillbay+ : Basics & Features": the eight lines that tell what the program does, shown
// above the main window at start unless the user turned that off.
class FrmWelcome : public QDialog
{
    Q_OBJECT

public:
    // The one instance, made (and its Form_Load run) on first use after each unload.
    static FrmWelcome* instance();

    QCheckBox* ChkDontShow() const { return m_chkDontShow; }

    void lblnext_Click();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    explicit FrmWelcome(QWidget* parent = nullptr);
    void Form_Load();
    void setNextUnderlined(bool underlined);

    QCheckBox* m_chkDontShow;
    QLabel* m_lblnext;
    QPushButton* m_btnnext;
    QList<QLabel*> m_imgPtr;
};
