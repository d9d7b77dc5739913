#pragma once

#include <QDialog>

#include <array>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSlider;
class QSpinBox;

// "SMTP Settings": the user's SMTP account. OK saves after its tests; Cancel runs the same tests
// (with its own two slips kept) and leaves without saving.
class FrmSmtp : public QDialog
{
    Q_OBJECT

public:
    // The one instance, made (and its Form_Load run) on first use after each unload.
    static FrmSmtp* instance();

    void cmdOk_Click(int index);

    QLineEdit* txtFromName;
    QLineEdit* txtFromMail;
    QLineEdit* txtReply;
    QLineEdit* txtSmtp;
    QLineEdit* txtSMTPPort;
    QSlider* sldr;
    QSpinBox* spnRate; // the pace of a send run
    QLabel* lblSec;
    QCheckBox* chkAuth;
    QLineEdit* txtUser;
    QLineEdit* txtPwd;
    QCheckBox* chkNoEncryption;
    std::array<QPushButton*, 2> cmdOk;

protected:
    void closeEvent(QCloseEvent* event) override;
    void reject() override;

private:
    explicit FrmSmtp(QWidget* parent = nullptr);
    void Form_Load();
    void ApplyAuthState();
    bool SettingsComplete() const;
    // The tests of both buttons, in their order; false after showing the first that fails.
    bool passesTests(bool cancelling);
    void unload();

    bool m_unloading = false;
};
