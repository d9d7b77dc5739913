#pragma once

#include <QWidget>

#include <array>

class ContactListView;
class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class QStackedWidget;
class QTabWidget;
class QToolButton;

// The seven pages of the merge wizard. Each holds its controls under the names the handlers
// use, as a form does; the wizard window owns the behaviour. Page numbers: 0 data source,
// 1 contacts, 2 template, 3 way of sending, 4 progress and result, 5 composer, 6 field map.

// Page 0: the list of contact sources and the panel of the chosen one.
class SourcePage : public QWidget
{
    Q_OBJECT
public:
    explicit SourcePage(QWidget* parent = nullptr);

    QListWidget* LstDataSrc;
    QStackedWidget* panels;
    std::array<QFrame*, 4> FraControls;
    // The shared file panel of the address book and the two text kinds.
    QLabel* lblCommon;
    QLabel* lblWabName;
    QLineEdit* txtWabfile;
    QToolButton* CmdBrowseWab;
    // The mail client's contact folder.
    QLineEdit* txtContact;
    QToolButton* CmdBrowse;
    QLabel* lblContact;
    // Spreadsheet.
    QLineEdit* txtXlSheet;
    QToolButton* CmdBrowseXlSheet;
    QLabel* lblSheets;
    QComboBox* cboSheets;
    // Database.
    QLineEdit* txtMdbFile;
    QToolButton* CmdBrowseMdbFile;
    QCheckBox* chkPassWd;
    QLineEdit* txtPassword;
    QLabel* lbltable;
    QComboBox* CboTable;
};

// Page 6: which source column feeds each merge field.
class FieldMapPage : public QWidget
{
    Q_OBJECT
public:
    explicit FieldMapPage(QWidget* parent = nullptr);

    std::array<QLabel*, 13> lblField;
    std::array<QComboBox*, 16> CboField;
    std::array<QLineEdit*, 3> txtCustom;
    std::array<QLineEdit*, 4> TxtBlank;
    QCheckBox* ChkSkip;
    QPushButton* CmdDefault;
    QPushButton* CmdClear;
};

// Page 1: the contacts, with a check box each.
class ContactsPage : public QWidget
{
    Q_OBJECT
public:
    explicit ContactsPage(QWidget* parent = nullptr);

    QLabel* lblConTitle;
    QLabel* lblTopContacts;
    ContactListView* LsvSelection;
    QLabel* lblSel;
};

// Page 2: e-mail or postal merge, and the templates.
class TemplatePage : public QWidget
{
    Q_OBJECT
public:
    explicit TemplatePage(QWidget* parent = nullptr);

    QFrame* FraAttachment;
    QFrame* FraWdAtt;
    QCheckBox* ChkMailMerge;
    QCheckBox* ChkAttachment;
    QCheckBox* ChkPostalMerge;
    QLabel* Label1;
    QLabel* label9;
    QLabel* Label10;
    std::array<QLineEdit*, 2> txtTemplate;
    std::array<QPushButton*, 2> CmdBrowseTemplate;
    std::array<QPushButton*, 2> CmdEdit;
    std::array<QPushButton*, 2> CmdNewTemplate;
    std::array<QLabel*, 2> lblLink;
    QLabel* Image5; // the help picture beside lblLink(0)
    QLabel* Image1; // beside lblLink(1)
    std::array<QRadioButton*, 2> OptDocs;
    QLabel* lblDocs;
    QLineEdit* txtDocs;
    QPushButton* cmdBrowseDoc;
    QLabel* lblLoad;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    static void showLink(QLabel* link);
};

// Page 3: the way of sending.
class SendPage : public QWidget
{
    Q_OBJECT
public:
    explicit SendPage(QWidget* parent = nullptr);

    QTabWidget* SSSendMail;
    QRadioButton* OptOutbox;
    QRadioButton* OptSMTP;
    QPushButton* CmdSMTP;
    std::array<QLabel*, 2> Label5;
    std::array<QLineEdit*, 2> txtselected;
    // "Resume the interrupted run (312 of 800 sent)", when the last run of the same list,
    // template and subject stopped before its end.
    QCheckBox* ChkResume;
    QPushButton* CmdTestSend;
};

// Page 4: the progress and result of a run.
class FinishPage : public QWidget
{
    Q_OBJECT
public:
    explicit FinishPage(QWidget* parent = nullptr);

    // The mail run's counts and a link to its journal, beside the run's own closing text.
    void showDeliveryReport(const QString& counts, const QString& journal);
    // The bar, as the part of the run done (0 to 1); full, it is 7500 twips wide.
    void setProgress(double fraction);
    double progress() const { return m_progress; }

    QTabWidget* FinishTab;
    QLabel* lblheader;
    QLabel* lblSendFolder;
    QLabel* lblstatus;
    QLabel* lblSendProcess;
    QFrame* Pbr;
    QPushButton* CmdCancelSend;
    QWidget* PicOpen;
    QLabel* ImgDoc;
    QLabel* lblOpenDoc;
    QLabel* lblCounts;

private:
    double m_progress = 0;
};
