#pragma once

#include "contacts/ContactSelection.h"
#include "contacts/ContactTable.h"
#include "contacts/DelimitedText.h"
#include "contacts/FieldMap.h"
#include "contacts/MailNamespace.h"
#include "core/Result.h"
#include "delivery/DeliveryJournal.h"
#include "merge/RunOutcome.h"
#include "merge/TokenEngine.h"

#include <QWidget>

#include <memory>
#include <optional>

class AccessDatabase;
class ComposePage;
class MailTransport;
class MergedAttachment;
struct SendRunInput;
class PostalMergeRun;
class SmtpSendRun;
class WizardRunView;
class ContactsPage;
class FieldMapPage;
class FinishPage;
class ProgressPanel;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QStackedWidget;
class SendPage;
class SourcePage;
class TemplateEditing;
class TemplatePage;
class WabReader;

// "Quillbay+ : Merge Mails": the wizard that leads from a contact source to finished mails or
// letters. Seven pages share one bar of Back, Next and Close; exactly one page is current and
// every decision of Next, Back and Close reads it, in the order the handlers below test.
// A mail merge runs through pages 0, (6), 1, 2, 5, 3, 4 and a postal merge through 0, (6), 1, 2, 4.
class FrmMailMerge : public QWidget
{
    Q_OBJECT

public:
    enum Page
    {
        DataSource = 0,
        Contacts = 1,
        Template = 2,
        SendWay = 3,
        Finish = 4,
        Compose = 5,
        FieldMapping = 6
    };

    // The one instance, made (and its Form_Load run) on first use after each unload.
    static FrmMailMerge* instance();
    ~FrmMailMerge() override;

    int currentPage() const { return m_currentPage; }
    ContactTable& contactTable() { return m_table; }
    ContactSelection& selection() { return m_selection; }
    TokenEngine& tokens() { return m_tokens; }
    const FieldMap& fieldMap() const { return m_map; }
    int sourceIndex() const;
    bool mapImported() const { return m_mapImported; }
    QString openedSource() const { return m_openedSource; }

    SourcePage* sourcePage() const { return m_source; }
    FieldMapPage* fieldMapPage() const { return m_fieldMapPage; }
    ContactsPage* contactsPage() const { return m_contacts; }
    TemplatePage* templatePage() const { return m_template; }
    SendPage* sendPage() const { return m_send; }
    FinishPage* finishPage() const { return m_finish; }
    ComposePage* composePage() const { return m_compose; }
    ProgressPanel* progress() const { return m_progress; }
    QPushButton* CmdBack() const { return m_cmdBack; }
    QPushButton* CmdNext() const { return m_cmdNext; }
    QPushButton* cmdCancel() const { return m_cmdCancel; }
    QLabel* lblTotContacts() const { return m_lblTotContacts; }
    // The template editing session of New and Edit, once one was asked for.
    TemplateEditing* templateEditing() const { return m_templateEditing.get(); }

    void CmdNext_Click();
    void CmdBack_Click();
    void cmdCancel_Click();
    void ShowPage(int page);
    void UpdateSelectedCount();
    void FillRecipientLists();

    // Change marks: "Change" (or "change" from typing in a template box) when a later step must
    // be redone.
    static QString Tag(const QObject* control);
    static void setTag(QObject* control, const QString& tag);

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    explicit FrmMailMerge(QWidget* parent = nullptr);
    QWidget* buildButtonBar();
    void connectSourcePage();
    void connectFieldMapPage();
    void connectContactsPage();
    void connectTemplatePage();
    void connectSendAndFinishPages();

    void Form_Load();
    void Form_Activate();
    void Form_Unload();
    void LoadWizardMemory();
    void SaveWizardMemory();

    // Data source page.
    void FillSourceList();
    void ShowSourcePanel(int index);
    void LstDataSrc_Click(int index);
    void ImportSource(int index);
    void CmdBrowseWab_Click();
    // Next on a file source with an empty file box: "Choose a Valid file!" and the focus to the box.
    bool hasFileName(QLineEdit* box);
    // The address book: the file dialog of the shared file panel, and Next on the first page,
    // which fills the contact table at once (no map page) and rows of AddWabRow.
    void BrowseAddressBook();
    void ImportWabFile();
    void AddWabRow(const WabReader& reader, std::vector<Contact>& rows);
    // The mail client's contact folder: the folder the panel starts with, its dialog, and Next
    // on the first page, which fills the contact table at once from the folder's contacts.
    void ResolveDefaultContactFolder();
    void CmdBrowse_Click();
    void ImportOutlookFolder();
    void ReadContactItems(const std::vector<MailContactItem>& items);
    // The custom columns 14 to 16 of the contact list get no width (sources 0 and 1 have none).
    void hideCustomColumns();
    void OpenTextSource(TextKind kind);
    void ImportTextFile(TextKind kind);
    void CmdBrowseXlSheet_Click();
    void cboSheets_Click();
    void txtXlSheet_LostFocus();
    void ListExcelSheets(const QString& lastFile);
    void OpenExcelSource();
    // The column names of the chosen sheet; empty when the file is gone, nothing when the
    // workbook or the sheet cannot be read.
    std::optional<QStringList> ReadSheetHeadings(int sheetNumber);
    void ImportExcelSheet();
    // Reads the chosen sheet's rows into the table; false when the step ends without rows.
    bool ReadExcelRows();

    // Steps shared by the importers of the mapped sources: after each row read, the progress
    // advances and every 200th row the pending events are let through; the rows read go into
    // the contact table (false, the step ended, when there are none); the step's end hides the
    // progress and counts the rows as selected.
    void importRowRead(qsizetype rowsRead);
    bool takeImportedRows(std::vector<Contact> rows);
    void endImport();

    // The database source.
    void connectAccessPanel();
    void CmdBrowseMdbFile_Click();
    void ListAccessTables(const QString& lastFile);
    std::unique_ptr<AccessDatabase> OpenAccessDatabase();
    void OpenAccessSource();
    QStringList ReadTableColumns(int tableIndex);
    void ImportAccessTable();

    // Field map page.
    void PrepareMapPage(const MapSection& where, const QString& path, const QString& chosenSheetOrTable);
    void showFieldMap();
    void mapChanged();
    void ApplyCustomHeadings();

    // Contact page.
    void LsvSelection_ItemCheck(int position);
    void lblSel_Click();
    void LsvSelection_ColumnClick(int column);
    void fitStandardColumns();
    void applyColumnPositions(const QList<int>& positions);
    QList<int> columnPositions() const;

    // Template page.
    void ChkMailMerge_Click();
    void ChkPostalMerge_Click();
    void ChkAttachment_Click();
    void EnableAttachmentControls();
    void DisableAttachmentControls();
    void EnablePostalControls();
    void DisablePostalControls();
    void CmdBrowseTemplate_Click(int index);
    void CmdEdit_Click(int index);
    void CmdNewTemplate_Click(int index);
    void txtTemplate_Change(int index);
    void OptDocs_Click(int option);
    void cmdBrowseDoc_Click();
    void BrowseOutputTarget(int option);
    void lblLink_Click();
    // Clicks on the help pictures and the finish page's document picture, and the hover mark of
    // "Open Created Merged Document".
    void templatePictureEvent(QObject* watched, QEvent* event);
    void EditInWord(const QString& path);
    void LeaveTemplatePage();

    // Composer page and the way of sending.
    void InitComposer();
    void DisableComposerToolbar();
    void PrepareFieldMenu();
    void ScanMailTokens();
    void showSelectedSource();
    // The source kind and the blank-field texts the string passes use.
    void syncTokenSettings();
    Result<QString> attachmentPreview(int row);

    // The runs that the document engine, the composer and the mail delivery provide.
    void ScanDocTokens();
    void PostalMergeRun(const QString& folder);
    void lblOpenDoc_Click();
    RunOutcome RunSmtpSend();
    RunOutcome RunOutboxSend();
    // The send page's offer to go on with the interrupted run of the same list, template and subject.
    void OfferResume();
    RunIdentity runIdentity() const;
    SendRunInput sendRunInput(MergedAttachment& attachment);
    RunOutcome runSend(MailTransport* outbox);
    void CmdTestSend_Click();
    void CmdCancelSend_Click();

    ContactTable m_table;
    ContactSelection m_selection;
    TokenEngine m_tokens;
    FieldMap m_map;
    int m_currentPage = -1;
    QString m_openedSource;
    bool m_mapImported = false;
    bool m_firstShown = true;
    bool m_cancelFlag = false;
    // The run in hand, while one goes; the window does not close under it.
    SmtpSendRun* m_smtpRun = nullptr;
    std::optional<PastRun> m_pastRun;
    ::PostalMergeRun* m_postalRun = nullptr;
    // What the finish page shows: the letters of a postal run, or a mail run (Back leads to
    // the template page or to the send page).
    bool m_finishShowsLetters = false;
    QString m_wabFile;
    QString m_tabFile;
    QString m_commaFile;
    int m_shownSourceIndex = 0;
    // True while a contact source is read: presses of Next, Back and Close are then dropped.
    bool m_importing = false;
    std::unique_ptr<TemplateEditing> m_templateEditing;

    QStackedWidget* m_pages;
    SourcePage* m_source;
    FieldMapPage* m_fieldMapPage;
    ContactsPage* m_contacts;
    TemplatePage* m_template;
    SendPage* m_send;
    FinishPage* m_finish;
    ComposePage* m_compose;
    ProgressPanel* m_progress;
    QPushButton* m_cmdBack;
    QPushButton* m_cmdNext;
    QPushButton* m_cmdCancel;
    QLabel* m_lblTotContacts;
};
