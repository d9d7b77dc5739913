#include "FrmMailMerge.h"

#include "ContactListView.h"
#include "FrmPick.h"
#include "ProgressPanel.h"
#include "TemplateEditing.h"
#include "WizardPages.h"
#include "WizardRunView.h"
#include "composer/ComposePage.h"
#include "contacts/AccessImport.h"
#include "contacts/DataSources.h"
#include "contacts/ExcelImport.h"
#include "contacts/MergeFieldTable.h"
#include "contacts/WabReader.h"
#include "core/AppPaths.h"
#include "core/CommonRoutines.h"
#include "core/Dialogs.h"
#include "core/ListSeparator.h"
#include "core/MessageBoxes.h"
#include "core/PlainFile.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "core/TextUtil.h"
#include "core/Twips.h"
#include "core/WaitCursor.h"
#include "delivery/FrmSmtp.h"
#include "delivery/MergedAttachment.h"
#include "delivery/SendmailTransport.h"
#include "delivery/SmtpAccount.h"
#include "delivery/SmtpSendRun.h"
#include "merge/DocumentMerge.h"
#include "merge/PostalMergeRun.h"
#include "wizard/WizardMemory.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/UserOffice.h"
#include "wordlink/WordDocumentNames.h"
#include "wordlink/WordStatus.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDesktopServices>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScopeGuard>
#include <QScopedValueRollback>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTableView>
#include <QTextEdit>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

#include <numeric>

using namespace Qt::StringLiterals;

namespace {

const QString Change = u"Change"_s;
const QString NextCaption = u"Next>>"_s;
const QString StartCaption = u"Start"_s;
const QString FinishCaption = u"Finish"_s;
const QString ExcelTag = u"XlSheet"_s;
const QString FileGone = u"File Doesn't Exists"_s;

// "File Doesn't Exists" as the spreadsheet stages show it, with OK and Cancel.
void fileGoneWithCancel()
{
    MessageBoxes::show(Message{FileGone, u"Quillbay+"_s, MessageButtons::OkCancel, MessageIcon::Information});
}

} // namespace

namespace {

QPointer<FrmMailMerge>& instancePointer()
{
    static QPointer<FrmMailMerge> window;
    return window;
}

} // namespace

FrmMailMerge* FrmMailMerge::instance()
{
    if (instancePointer().isNull()) {
        instancePointer() = new FrmMailMerge;
    }
    return instancePointer();
}

QString FrmMailMerge::Tag(const QObject* control)
{
    return control->property("Tag").toString();
}

void FrmMailMerge::setTag(QObject* control, const QString& tag)
{
    control->setProperty("Tag", tag);
}

FrmMailMerge::FrmMailMerge(QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_selection(m_table)
    , m_tokens(m_table)
    , m_pages(new QStackedWidget(this))
    , m_source(new SourcePage(m_pages))
    , m_fieldMapPage(new FieldMapPage(m_pages))
    , m_contacts(new ContactsPage(m_pages))
    , m_template(new TemplatePage(m_pages))
    , m_send(new SendPage(m_pages))
    , m_finish(new FinishPage(m_pages))
    , m_compose(new ComposePage(m_pages))
    , m_progress(new ProgressPanel(this))
{
    setObjectName(u"frmMailMerge"_s);
    setWindowTitle(u"Quillbay+ : Merge Mails"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    // Page numbers are the stack's indices.
    for (QWidget* page : std::initializer_list<QWidget*>{m_source, m_contacts, m_template, m_send, m_finish, m_compose,
                                                         m_fieldMapPage}) {
        m_pages->addWidget(page);
    }
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_pages, 1);
    layout->addWidget(buildButtonBar());
    resize(760, 560);

    m_contacts->LsvSelection->setModel(&m_table);
    m_compose->setMergeSources(&m_tokens, [this](int row) { return attachmentPreview(row); });
    fitStandardColumns();
    connectSourcePage();
    connectFieldMapPage();
    connectContactsPage();
    connectTemplatePage();
    connectSendAndFinishPages();
    Form_Load();
}

QWidget* FrmMailMerge::buildButtonBar()
{
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    m_lblTotContacts = new QLabel(bar);
    m_lblTotContacts->setObjectName(u"lblTotContacts"_s);
    m_lblTotContacts->setVisible(false);
    m_cmdBack = new QPushButton(u"<< Back"_s, bar);
    m_cmdBack->setObjectName(u"CmdBack"_s);
    m_cmdNext = new QPushButton(NextCaption, bar);
    m_cmdNext->setObjectName(u"CmdNext"_s);
    m_cmdNext->setDefault(true);
    m_cmdCancel = new QPushButton(u"Close"_s, bar);
    m_cmdCancel->setObjectName(u"cmdCancel"_s);
    row->addWidget(m_lblTotContacts);
    row->addStretch();
    row->addWidget(m_cmdBack);
    row->addWidget(m_cmdNext);
    row->addWidget(m_cmdCancel);
    connect(m_cmdBack, &QPushButton::clicked, this, &FrmMailMerge::CmdBack_Click);
    connect(m_cmdNext, &QPushButton::clicked, this, &FrmMailMerge::CmdNext_Click);
    connect(m_cmdCancel, &QPushButton::clicked, this, &FrmMailMerge::cmdCancel_Click);
    return bar;
}

// ---------------------------------------------------------------------------------------------
// Loading and unloading

void FrmMailMerge::Form_Load()
{
    WaitCursor wait;
    FillSourceList();
    LoadSmtpSettings();
    LoadWizardMemory();
    m_source->LstDataSrc->setCurrentRow(0);
    ShowPage(DataSource);
    m_firstShown = true;
    UpdateSelectedCount();
    m_cmdBack->setEnabled(false);
}

void FrmMailMerge::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_firstShown) {
        Form_Activate();
    }
}

void FrmMailMerge::Form_Activate()
{
    // A remembered workbook that has gone is passed over without a word.
    const QString workbook = m_source->txtXlSheet->text();
    if (!workbook.isEmpty() && FileExists(workbook)) {
        ListExcelSheets(workbook);
    }
    // The table list of the remembered database; a database that cannot be opened now (a
    // stale password, say) stays silent and shows "(No Tables)".
    const QString database = m_source->txtMdbFile->text();
    if (!database.isEmpty() && FileExists(database)) {
        ListAccessTables(database);
    }
    m_firstShown = false;
}

void FrmMailMerge::closeEvent(QCloseEvent* event)
{
    if (m_importing) {
        // An import lets events through as it goes; the window stays until it has ended.
        event->ignore();
        return;
    }
    if (m_smtpRun != nullptr || m_postalRun != nullptr) {
        // A run in hand is cancelled first; the window stays until it has ended.
        CmdCancelSend_Click();
        event->ignore();
        return;
    }
    Form_Unload();
    event->accept();
}

void FrmMailMerge::Form_Unload()
{
    SaveWizardMemory();
    // An unloaded window is gone: the next use makes a new one, which loads afresh.
    if (instancePointer() == this) {
        instancePointer().clear();
    }
}

void FrmMailMerge::LoadWizardMemory()
{
    const WizardMemoryValues values = WizardMemory::LoadWizardMemory(MergeFieldTable::CellCount);
    m_wabFile = values.wabFile;
    m_source->txtWabfile->setText(values.wabFile);
    setTag(m_source->txtWabfile, u"WAB"_s);
    m_tabFile = values.tabFile;
    m_commaFile = values.commaFile;
    m_source->txtMdbFile->setText(values.mdbFile);
    m_source->txtPassword->setText(values.password);
    m_source->txtXlSheet->setText(values.xlFile);
    for (int k = 0; k < 4; ++k) {
        m_fieldMapPage->TxtBlank[k]->setText(values.blanks.texts[k]);
    }
    applyColumnPositions(values.columnPositions);
    m_send->OptSMTP->setChecked(values.sendWay == WizardMemoryValues::SendWay::Smtp);
    m_send->OptOutbox->setChecked(values.sendWay == WizardMemoryValues::SendWay::Outbox);
}

void FrmMailMerge::SaveWizardMemory()
{
    WizardMemoryValues values;
    values.wabFile = m_wabFile;
    values.tabFile = m_tabFile;
    values.commaFile = m_commaFile;
    values.contactFolderName = m_source->txtContact->text();
    values.contactEntryId = Tag(m_source->txtContact);
    values.xlFile = m_source->txtXlSheet->text();
    values.xlSheet = m_source->cboSheets->currentText();
    values.mdbFile = m_source->txtMdbFile->text();
    values.tableName = m_source->CboTable->currentText();
    values.password = m_source->txtPassword->text();
    for (int k = 0; k < 4; ++k) {
        values.blanks.texts[k] = m_fieldMapPage->TxtBlank[k]->text();
    }
    values.columnPositions = columnPositions();
    values.fontName = m_compose->cboFont->currentText();
    values.fontSize = m_compose->cboFontSize->currentText();
    if (m_send->OptSMTP->isChecked()) {
        values.sendWay = WizardMemoryValues::SendWay::Smtp;
    } else if (m_send->OptOutbox->isChecked()) {
        values.sendWay = WizardMemoryValues::SendWay::Outbox;
    }
    WizardMemory::SaveWizardMemory(values);
}

// ---------------------------------------------------------------------------------------------
// Pages and the button bar

int FrmMailMerge::sourceIndex() const
{
    return m_source->LstDataSrc->currentRow();
}

void FrmMailMerge::ShowPage(int page)
{
    if (page == Compose) {
        PrepareFieldMenu();
        syncTokenSettings();
    }
    m_currentPage = page;
    m_pages->setCurrentIndex(page);
    if (page == DataSource) {
        m_source->panels->setCurrentIndex(m_shownSourceIndex >= 4 ? 0 : m_shownSourceIndex);
    } else if (page == Contacts) {
        m_contacts->lblTopContacts->setText(u"Total Contacts : "_s + QString::number(m_table.count()));
        m_cmdNext->setText(NextCaption);
    } else if (page == SendWay) {
        m_send->SSSendMail->setCurrentIndex(0);
    } else if (page == Compose) {
        m_compose->txtSubject->setFocus();
    }
}

void FrmMailMerge::UpdateSelectedCount()
{
    const bool shown =
        m_currentPage == Template || m_currentPage == SendWay || m_currentPage == Finish || m_currentPage == Compose;
    m_lblTotContacts->setVisible(shown);
    if (shown) {
        m_lblTotContacts->setText(u"Selected Contacts : "_s + QString::number(m_selection.SelectedCount()));
    }
}

void FrmMailMerge::CmdNext_Click()
{
    if (m_importing) {
        return;
    }
    if (m_cmdNext->text() == FinishCaption && m_currentPage == Finish) {
        close();
        return;
    }
    switch (m_currentPage) {
    case DataSource:
        ImportSource(sourceIndex());
        break;
    case Contacts:
        m_tokens.BuildTokenCatalog();
        if (!m_selection.AnyContactChecked()) {
            MessageBoxes::information(u"Select Any Contact"_s);
        } else {
            ShowPage(Template);
            m_cmdNext->setText(m_template->ChkPostalMerge->isChecked() ? StartCaption : NextCaption);
            m_template->txtTemplate[0]->setFocus();
        }
        break;
    case Template:
        if (m_template->ChkMailMerge->isChecked() && !m_template->ChkAttachment->isChecked()) {
            DisableComposerToolbar();
            m_compose->G1_Tab->setCurrentIndex(0);
            if (Tag(m_contacts->lblConTitle) == Change) {
                FillRecipientLists();
            }
            if (!m_compose->isInitialised()) {
                InitComposer();
            }
            ShowPage(Compose);
            m_compose->G1_Tab->setTabEnabled(3, false);
        } else {
            LeaveTemplatePage();
        }
        break;
    case Compose:
        if (m_compose->txtSubject->text().isEmpty()) {
            MessageBoxes::information(u"Please Specify a Subject"_s);
            m_compose->txtSubject->setFocus();
        } else {
            ScanMailTokens();
            ShowPage(SendWay);
            m_cmdNext->setText(StartCaption);
        }
        break;
    case SendWay: {
        RunOutcome outcome;
        if (m_send->OptSMTP->isChecked()) {
            outcome = RunSmtpSend();
        } else if (m_send->OptOutbox->isChecked()) {
            m_cmdNext->setText(FinishCaption);
            m_cmdNext->setEnabled(false);
            outcome = RunOutboxSend();
        } else {
            MessageBoxes::information(u"Select any Option"_s);
            break;
        }
        // A run that ended with "Process Cancelled!" (cancelled or failed) leaves Finish off.
        m_cmdNext->setEnabled(outcome.completed());
        break;
    }
    case FieldMapping: {
        const QString kind = Tag(m_fieldMapPage->CboField[0]);
        if (kind == u"Tab"_s) {
            ImportTextFile(TextKind::Tab);
        } else if (kind == u"Comma"_s) {
            ImportTextFile(TextKind::Comma);
        } else if (kind == ExcelTag) {
            ImportExcelSheet();
        } else if (kind == u"AccessTable"_s) {
            ImportAccessTable();
        }
        break;
    }
    default:
        break;
    }
    UpdateSelectedCount();
    m_cmdBack->setEnabled(m_currentPage != DataSource);
}

void FrmMailMerge::CmdBack_Click()
{
    if (m_importing) {
        return;
    }
    switch (m_currentPage) {
    case Contacts:
        ShowPage(DataSources::isFileLike(sourceIndex()) ? FieldMapping : DataSource);
        break;
    case Template:
        ShowPage(Contacts);
        break;
    case SendWay:
        if (!m_compose->isInitialised()) {
            InitComposer();
        }
        ShowPage(Compose);
        m_cmdNext->setText(NextCaption);
        break;
    case Finish:
        ShowPage(m_finishShowsLetters ? Template : SendWay);
        m_cmdNext->setText(StartCaption);
        m_finish->PicOpen->setVisible(false);
        break;
    case FieldMapping:
        ShowPage(DataSource);
        break;
    case Compose:
        ShowPage(Template);
        break;
    default:
        break;
    }
    UpdateSelectedCount();
    m_cmdBack->setEnabled(m_currentPage != DataSource);
    m_cmdNext->setEnabled(true);
}

void FrmMailMerge::cmdCancel_Click()
{
    if (m_importing) {
        return;
    }
    if (m_currentPage == DataSource) {
        close();
        return;
    }
    if (MessageBoxes::askYesNo(u"Are you sure to Exit from this wizard?"_s)) {
        close();
    }
}

// ---------------------------------------------------------------------------------------------
// Data source page

void FrmMailMerge::connectSourcePage()
{
    connect(m_source->LstDataSrc, &QListWidget::currentRowChanged, this, &FrmMailMerge::LstDataSrc_Click);
    connect(m_source->CmdBrowseWab, &QToolButton::clicked, this, &FrmMailMerge::CmdBrowseWab_Click);
    connect(m_source->CmdBrowse, &QToolButton::clicked, this, &FrmMailMerge::CmdBrowse_Click);
    connect(m_source->CmdBrowseXlSheet, &QToolButton::clicked, this, &FrmMailMerge::CmdBrowseXlSheet_Click);
    // Choosing an entry, by the user or by the listing, asks for the columns to be read again.
    connect(m_source->cboSheets, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0) {
            cboSheets_Click();
        }
    });
    connect(m_source->txtXlSheet, &QLineEdit::editingFinished, this, &FrmMailMerge::txtXlSheet_LostFocus);
    connectAccessPanel();
}

void FrmMailMerge::FillSourceList()
{
    m_source->LstDataSrc->blockSignals(true);
    m_source->LstDataSrc->clear();
    m_source->LstDataSrc->addItems(DataSources::entries());
    m_source->LstDataSrc->blockSignals(false);
}

void FrmMailMerge::ShowSourcePanel(int index)
{
    m_shownSourceIndex = index;
    QLineEdit* box = m_source->txtWabfile;
    if (index == 0) {
        box->setText(m_wabFile);
        setTag(box, u"WAB"_s);
        m_source->lblCommon->setText(u"Import Contacts Data from Windows Address book or Outlook Express .wab file"_s);
    } else if (index == 4) {
        box->setText(m_tabFile);
        setTag(box, u"TAB"_s);
        m_source->lblCommon->setText(u"Import Contacts Data from a text file with Tab seperated values"_s);
    } else if (index == 5) {
        box->setText(m_commaFile);
        setTag(box, u"COM"_s);
        m_source->lblCommon->setText(u"Import Contacts Data from a text file with Comma Seperated Values"_s);
    }
    m_source->panels->setCurrentIndex(index >= 4 ? 0 : index);
}

void FrmMailMerge::LstDataSrc_Click(int index)
{
    if (index < 0) {
        return;
    }
    if (index == 0 || index == 4 || index == 5) {
        const QString kept = TextUtil::trimSpaces(m_source->txtWabfile->text());
        const QString kind = Tag(m_source->txtWabfile);
        if (kind == u"WAB"_s) {
            m_wabFile = kept;
        } else if (kind == u"TAB"_s) {
            m_tabFile = kept;
        } else if (kind == u"COM"_s) {
            m_commaFile = kept;
        }
    }
    if (index == 1 && m_source->txtContact->text().isEmpty()) {
        ResolveDefaultContactFolder();
    }
    ShowSourcePanel(index);
}

void FrmMailMerge::ImportSource(int index)
{
    if (index == 0) {
        ImportWabFile();
    } else if (index == 1) {
        ImportOutlookFolder();
    } else if (index == 4 || index == 5) {
        OpenTextSource(index == 4 ? TextKind::Tab : TextKind::Comma);
    } else if (index == 2) {
        OpenExcelSource();
    } else if (index == 3) {
        OpenAccessSource();
    }
    if (index != 1) {
        m_fieldMapPage->ChkSkip->setEnabled(index != 3);
        setTag(m_source->lblContact, QString());
    }
    if (index != 0) {
        setTag(m_source->lblWabName, QString());
    }
    if (index == 0 || index == 1) {
        m_mapImported = false;
    }
}

void FrmMailMerge::CmdBrowseWab_Click()
{
    const QString kind = Tag(m_source->txtWabfile);
    if (kind == u"WAB"_s) {
        BrowseAddressBook();
        return;
    }
    if (kind != u"TAB"_s && kind != u"COM"_s) {
        return;
    }
    const QString filter = kind == u"TAB"_s ? u"Text Documents (*.txt)|*.txt"_s
                                            : u"Comma Separated Values (*.csv)|*.csv|Text Documents (*.txt)|*.txt"_s;
    const QString chosen = Dialogs::ShowFileDialog(filter, TextUtil::trimSpaces(m_source->txtWabfile->text()), this);
    if (chosen.isEmpty()) {
        return;
    }
    const QString ending = chosen.right(3).toUpper();
    if (ending != u"TXT"_s && (kind == u"TAB"_s || ending != u"CSV"_s)) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return;
    }
    (kind == u"TAB"_s ? m_tabFile : m_commaFile) = chosen;
    m_source->txtWabfile->setText(chosen);
    m_openedSource = Change;
    m_mapImported = false;
}

bool FrmMailMerge::hasFileName(QLineEdit* box)
{
    if (!box->text().isEmpty()) {
        return true;
    }
    MessageBoxes::information(u"Choose a Valid file!"_s);
    box->setFocus();
    return false;
}

void FrmMailMerge::BrowseAddressBook()
{
    m_mapImported = false;
    const QString chosen =
        Dialogs::ShowFileDialog(u"Address Books (*.wab;*.vcf)|*.wab;*.vcf|Windows Address Book (*.Wab)|*.wab|"
                                u"vCard Files (*.vcf)|*.vcf"_s,
                                TextUtil::trimSpaces(m_source->txtWabfile->text()), this);
    if (chosen.isEmpty()) {
        return;
    }
    if (!AddressBook::hasAddressBookExtension(chosen)) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return;
    }
    m_wabFile = chosen;
    m_source->txtWabfile->setText(chosen);
    setTag(m_source->lblWabName, QString());
}

void FrmMailMerge::ImportWabFile()
{
    QLineEdit* box = m_source->txtWabfile;
    if (box->text().isEmpty()) {
        MessageBoxes::information(u"Choose a Valid file!"_s);
        box->setFocus();
        return;
    }
    const auto closing = qScopeGuard([this] {
        m_progress->finish();
        m_selection.resetToRowCount();
    });
    if (Tag(m_source->lblWabName) != box->text()) {
        const QString path = box->text();
        if (!AddressBook::hasAddressBookExtension(path)) {
            MessageBoxes::information(u"Choose a Valid file!"_s);
            return;
        }
        if (!FileExists(path)) {
            MessageBoxes::information(u"File Doesn't Exists"_s);
            return;
        }
        WaitCursor wait;
        const QScopedValueRollback importing(m_importing, true);
        m_table.clear();
        WabReader reader;
        if (const Status opened = reader.open(path); !opened.ok()) {
            // A damaged book says what is wrong with it; the wizard stays on its page.
            MessageBoxes::information(opened.error().message);
            return;
        }
        const int count = reader.count();
        m_progress->BeginProgress(count);
        if (count < 1) {
            MessageBoxes::show(
                {u"Contacts are not Available"_s, u"Quillbay+"_s, MessageButtons::OkCancel, MessageIcon::Information});
        } else {
            hideCustomColumns();
            // The bar's width is kept as a whole number of twips, rounded at each record: with
            // more than 8000 records a step rounds to nothing and the bar stands still.
            const double step = ProgressPanel::FullWidth / count;
            int width = 0;
            std::vector<Contact> rows;
            for (int k = 0; k < count; ++k) {
                reader.select(k);
                AddWabRow(reader, rows);
                width = qRound(width + step);
                m_progress->setWidth(width);
                if ((k + 1) % 200 == 0) {
                    m_table.appendRows(std::move(rows));
                    rows.clear();
                    QCoreApplication::processEvents();
                }
            }
            m_table.appendRows(std::move(rows));
        }
        reader.close();
        setTag(m_source->lblWabName, box->text());
    }
    ShowPage(Contacts);
}

void FrmMailMerge::AddWabRow(const WabReader& reader, std::vector<Contact>& rows)
{
    Contact row;
    row.cells = AddressBook::rowCells(reader);
    rows.push_back(std::move(row));
    setTag(m_contacts->lblConTitle, Change);
}

void FrmMailMerge::hideCustomColumns()
{
    for (int cell = MergeFieldTable::FirstCustomCell; cell < MergeFieldTable::CellCount; ++cell) {
        m_contacts->LsvSelection->setColumnWidth(cell, 0);
    }
}

void FrmMailMerge::ResolveDefaultContactFolder()
{
    // This reading of the remembered folder has an empty default, unlike the key's declaration.
    QLineEdit* box = m_source->txtContact;
    const SettingsStore& store = SettingsStore::instance();
    box->setText(store.GetSetting(QString::fromLatin1(Keys::ContactsFolderName.section),
                                  QString::fromLatin1(Keys::ContactsFolderName.key)));
    setTag(box, store.GetSetting(QString::fromLatin1(Keys::ContactsEntryId.section),
                                 QString::fromLatin1(Keys::ContactsEntryId.key)));
    if (box->text().isEmpty()) {
        if (const std::optional<MailFolder> contacts =
                MailClient::attach()->GetDefaultFolder(DefaultFolder::Contacts)) {
            box->setText(contacts->name);
            setTag(box, contacts->entryId);
        }
    }
}

void FrmMailMerge::CmdBrowse_Click()
{
    FrmPick pick(this);
    {
        WaitCursor wait;
        pick.LoadTreeSpecific();
    }
    pick.showModal();
    if (!pick.PickResult.isEmpty()) {
        const QStringList parts = pick.PickResult.split(ListSeparator());
        setTag(m_source->lblContact, m_source->txtContact->text());
        m_source->txtContact->setText(parts.value(0));
        setTag(m_source->txtContact, parts.value(1));
    }
}

void FrmMailMerge::ImportOutlookFolder()
{
    QLineEdit* box = m_source->txtContact;
    std::optional<MailFolder> folder;
    int itemCount = -1;
    if (Tag(m_source->lblContact) != box->text()) {
        const std::unique_ptr<MailNamespace> client = MailClient::attach();
        folder = client->GetFolderFromID(Tag(box));
        if (!folder || TextUtil::trimSpaces(box->text()) != folder->name) {
            MessageBoxes::information(u"Please Choose a Contact Folder"_s);
            m_progress->finish();
            m_selection.resetToRowCount();
            return;
        }
        WaitCursor wait;
        const QScopedValueRollback importing(m_importing, true);
        Result<std::vector<MailContactItem>> items = client->items(folder->entryId);
        if (!items.ok()) {
            // An address book that cannot be read says why; the wizard stays on its page.
            MessageBoxes::information(items.error().message);
            m_selection.resetToRowCount();
            return;
        }
        itemCount = static_cast<int>(items->size());
        if (itemCount > 0) {
            ReadContactItems(items.value());
            setTag(m_source->lblContact, box->text());
        }
    }
    if (itemCount != 0) {
        ShowPage(Contacts);
        m_cmdBack->setEnabled(true);
        setTag(m_contacts->lblConTitle, Change);
    }
    m_progress->finish();
    if (folder && itemCount == 0) {
        MessageBoxes::information(u"No Items Available in "_s + folder->name + u" Folder"_s);
    }
    m_selection.resetToRowCount();
}

void FrmMailMerge::ReadContactItems(const std::vector<MailContactItem>& items)
{
    m_table.clear();
    m_progress->BeginProgress(static_cast<double>(items.size()));
    hideCustomColumns();
    QCoreApplication::processEvents();
    std::vector<Contact> rows;
    int done = 0;
    for (const MailContactItem& item : items) {
        // Mailing lists and other items are passed over, though they count in the progress.
        if (std::optional<Contact> row = MailClient::contactRow(item)) {
            rows.push_back(std::move(*row));
        }
        m_progress->advance();
        if (++done % 200 == 0) {
            m_table.appendRows(std::move(rows));
            rows.clear();
            QCoreApplication::processEvents();
        }
    }
    m_table.appendRows(std::move(rows));
}

void FrmMailMerge::OpenTextSource(TextKind kind)
{
    QLineEdit* box = m_source->txtWabfile;
    if (!hasFileName(box)) {
        return;
    }
    const QString path = TextUtil::trimSpaces(box->text());
    if (PlainFile::kindOf(path) == PlainFile::Kind::Missing) {
        MessageBoxes::information(u"File Doesn't Exists"_s);
        return;
    }
    WaitCursor wait;
    const QScopedValueRollback importing(m_importing, true);
    if (box->text() == m_openedSource) {
        ShowPage(FieldMapping);
    } else {
        m_mapImported = false;
        setTag(m_fieldMapPage->CboField[0], kind == TextKind::Tab ? u"Tab"_s : u"Comma"_s);
        m_progress->BeginProgress(16);
        const Result<QString> text = DelimitedText::readText(path);
        if (!text.ok() || text->isEmpty()) {
            // A folder, a pipe or an unreadable file says why; an empty one holds no contacts.
            m_progress->finish();
            MessageBoxes::information(text.ok() ? u"The contact list %1 holds no contacts"_s.arg(path)
                                                : text.error().message);
            return;
        }
        const QStringList columns = DelimitedText::firstLineColumns(text.value(), kind);
        m_map.setColumns(columns);
        const MapSection where = kind == TextKind::Tab ? MapSection{u"TabValues"_s, u"TxtTabFile"_s}
                                                       : MapSection{u"CommaValues"_s, u"TxtComaFile"_s};
        PrepareMapPage(where, path, {});
        m_openedSource = box->text();
        if (!columns.isEmpty()) {
            ShowPage(FieldMapping);
        } else {
            m_openedSource = u"New File"_s;
        }
    }
    m_progress->finish();
}

void FrmMailMerge::ImportTextFile(TextKind kind)
{
    if (!m_mapImported) {
        if (FieldMapMemory::MapIsEmpty(m_map)) {
            MessageBoxes::information(u"Please Map any Field"_s);
            endImport();
            return;
        }
        WaitCursor wait;
        const QScopedValueRollback importing(m_importing, true);
        m_table.clear();
        ApplyCustomHeadings();
        QByteArray bytes;
        const Result<QString> text =
            DelimitedText::readText(TextUtil::trimSpaces(m_source->txtWabfile->text()), &bytes);
        m_progress->BeginProgress(DelimitedText::CountFileLines(bytes));
        bytes.clear();
        std::vector<Contact> rows;
        if (text.ok()) {
            const bool skipFirst = m_fieldMapPage->ChkSkip->isChecked();
            QCoreApplication::processEvents();
            qsizetype linesRead = 0;
            rows = DelimitedText::importRows(text.value(), kind, skipFirst, m_map.listIndex,
                                             [this, &linesRead](qsizetype) { importRowRead(++linesRead); });
        }
        if (!takeImportedRows(std::move(rows))) {
            return;
        }
        (kind == TextKind::Tab ? SettingsStore::instance().setValue(Keys::TabFile, m_tabFile)
                               : SettingsStore::instance().setValue(Keys::CommaFile, m_commaFile));
        FieldMapMemory::SaveMap(m_map, kind == TextKind::Tab ? u"TabValues"_s : u"CommaValues"_s);
    }
    ShowPage(Contacts);
    m_mapImported = true;
    endImport();
}

void FrmMailMerge::importRowRead(qsizetype rowsRead)
{
    m_progress->advance();
    if (rowsRead % 200 == 0) {
        QCoreApplication::processEvents();
    }
}

bool FrmMailMerge::takeImportedRows(std::vector<Contact> rows)
{
    m_table.appendRows(std::move(rows));
    if (m_table.count() == 0) {
        endImport();
        return false;
    }
    setTag(m_contacts->lblConTitle, Change);
    return true;
}

void FrmMailMerge::endImport()
{
    m_progress->finish();
    m_selection.resetToRowCount();
}

// ---------------------------------------------------------------------------------------------
// Spreadsheet source

void FrmMailMerge::CmdBrowseXlSheet_Click()
{
    const QString chosen = Dialogs::ShowFileDialog(u"Microsoft Excel Files (*.xls;*.xlsx)|*.xls;*.xlsx"_s,
                                                   TextUtil::trimSpaces(m_source->txtXlSheet->text()), this);
    if (chosen.isEmpty()) {
        return;
    }
    // A workbook of the newer kind (.xlsx) passes beside the .xls.
    if (chosen.right(3).toUpper() != u"XLS"_s && chosen.right(4).toUpper() != u"XLSX"_s) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return;
    }
    m_source->txtXlSheet->setText(chosen);
    ListExcelSheets(QString());
    m_openedSource = Change;
    m_mapImported = false;
}

void FrmMailMerge::cboSheets_Click()
{
    m_openedSource = Change;
}

void FrmMailMerge::txtXlSheet_LostFocus()
{
    if (m_source->txtXlSheet->text().isEmpty()) {
        m_source->cboSheets->clear();
    }
}

void FrmMailMerge::ListExcelSheets(const QString& lastFile)
{
    const QString path = TextUtil::trimSpaces(m_source->txtXlSheet->text());
    if (!FileExists(path)) {
        fileGoneWithCancel();
        return;
    }
    WaitCursor wait;
    // A workbook that cannot be opened leaves the list as it was, without a word.
    const Result<std::unique_ptr<Workbook>> book = Workbook::open(path);
    if (!book.ok()) {
        return;
    }
    QComboBox* sheets = m_source->cboSheets;
    sheets->clear();
    const QStringList names = book.value()->sheetNames();
    sheets->addItems(names);
    if (names.isEmpty()) {
        sheets->setEditText(u"(No Sheets)"_s);
        return;
    }
    sheets->setEnabled(true);
    m_source->lblSheets->setEnabled(true);
    sheets->setCurrentIndex(ExcelImport::chooseSheet(names, lastFile, m_source->txtXlSheet->text(),
                                                     SettingsStore::instance().value(Keys::ExcelSheetNameWrite)));
}

void FrmMailMerge::OpenExcelSource()
{
    QLineEdit* box = m_source->txtXlSheet;
    QComboBox* sheets = m_source->cboSheets;
    if (!hasFileName(box)) {
        return;
    }
    const QString path = TextUtil::trimSpaces(box->text());
    if (box->text() == m_openedSource) {
        ShowPage(FieldMapping);
        m_progress->finish();
        return;
    }
    setTag(sheets, QString());
    if (sheets->currentText().isEmpty()) {
        // Nothing chosen: the map page shows what it holds.
        ShowPage(FieldMapping);
        m_progress->finish();
        return;
    }
    WaitCursor wait;
    const QScopedValueRollback importing(m_importing, true);
    m_map.setColumns({});
    setTag(m_fieldMapPage->CboField[0], ExcelTag);
    setTag(sheets, sheets->currentText());
    m_progress->BeginProgress(17);
    m_progress->advance();
    const std::optional<QStringList> headings = ReadSheetHeadings(sheets->currentIndex() + 1);
    if (!headings) {
        showFieldMap();
        m_progress->finish();
        return;
    }
    m_map.setColumns(*headings);
    // Filling the map's boxes afresh counts as a change of the map: the rows are read again.
    m_mapImported = false;
    PrepareMapPage(MapSection{ExcelTag, u"ExFilename"_s}, path, sheets->currentText());
    m_openedSource = box->text();
    if (!m_map.columns.isEmpty()) {
        ShowPage(FieldMapping);
    } else {
        setTag(sheets, QString());
        m_openedSource = u"New File"_s;
    }
    m_progress->finish();
}

std::optional<QStringList> FrmMailMerge::ReadSheetHeadings(int sheetNumber)
{
    const QString path = TextUtil::trimSpaces(m_source->txtXlSheet->text());
    if (!FileExists(path)) {
        fileGoneWithCancel();
        return QStringList();
    }
    const Result<Worksheet> sheet = ExcelImport::readSheet(path, sheetNumber);
    if (!sheet.ok()) {
        return std::nullopt;
    }
    return ExcelImport::ReadSheetHeadings(sheet.value());
}

void FrmMailMerge::ImportExcelSheet()
{
    if (m_mapImported || ReadExcelRows()) {
        ShowPage(Contacts);
        m_mapImported = true;
    }
    endImport();
}

bool FrmMailMerge::ReadExcelRows()
{
    if (FieldMapMemory::MapIsEmpty(m_map)) {
        MessageBoxes::information(u"Please Map any Field"_s);
        return false;
    }
    m_table.clear();
    WaitCursor wait;
    const QScopedValueRollback importing(m_importing, true);
    ApplyCustomHeadings();
    const QString path = TextUtil::trimSpaces(m_source->txtXlSheet->text());
    if (!FileExists(path)) {
        fileGoneWithCancel();
        return false;
    }
    // An unreadable workbook ends the step as it stands, without a word.
    const Result<Worksheet> sheet = ExcelImport::readSheet(path, m_source->cboSheets->currentIndex() + 1);
    if (!sheet.ok()) {
        return false;
    }
    m_progress->BeginProgress(sheet->usedRange().rows);
    if (!takeImportedRows(ExcelImport::importRows(sheet.value(), m_fieldMapPage->ChkSkip->isChecked(), m_map.listIndex,
                                                  [this](int row) { importRowRead(row); }))) {
        return false; // a sheet with no rows after the skip stays on the map page
    }
    SettingsStore& store = SettingsStore::instance();
    store.setValue(Keys::ExcelFileName, m_source->txtXlSheet->text());
    store.setValue(Keys::ExcelSheetNameWrite, m_source->cboSheets->currentText());
    FieldMapMemory::SaveMap(m_map, ExcelTag);
    return true;
}

// ---------------------------------------------------------------------------------------------
// Database source

void FrmMailMerge::connectAccessPanel()
{
    connect(m_source->CmdBrowseMdbFile, &QToolButton::clicked, this, &FrmMailMerge::CmdBrowseMdbFile_Click);
    connect(m_source->chkPassWd, &QCheckBox::toggled, this, [this](bool checked) {
        m_source->txtPassword->setEnabled(checked);
        if (checked) {
            m_source->txtPassword->setFocus();
        }
    });
    // Enter in the password box reads the table list again.
    connect(m_source->txtPassword, &QLineEdit::returnPressed, this, [this] { ListAccessTables({}); });
    connect(m_source->CboTable, &QComboBox::activated, this, [this] { m_openedSource = Change; });
}

void FrmMailMerge::CmdBrowseMdbFile_Click()
{
    const QString chosen =
        Dialogs::ShowFileDialog(u"Microsoft Access MDBs (*.mdb;*.accdb)|*.mdb;*.accdb"_s, QString(), this);
    if (chosen.isEmpty()) {
        return;
    }
    if (chosen.right(3).toUpper() != u"MDB"_s && chosen.right(5).toUpper() != u"ACCDB"_s) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return;
    }
    m_source->txtMdbFile->setText(chosen);
    m_mapImported = false;
    m_source->txtPassword->clear();
    ListAccessTables(QString());
}

void FrmMailMerge::ListAccessTables(const QString& lastFile)
{
    WaitCursor wait;
    QComboBox* tables = m_source->CboTable;
    tables->clear();
    if (m_source->txtMdbFile->text().isEmpty()) {
        return;
    }
    if (const std::unique_ptr<AccessDatabase> database = OpenAccessDatabase()) {
        tables->addItems(AccessImport::userTables(database->tableNames()));
    }
    if (tables->count() == 0) {
        tables->addItem(AccessImport::NoTables.toString());
        m_source->lbltable->setEnabled(false);
        tables->setEnabled(false);
        return;
    }
    m_source->lbltable->setEnabled(true);
    tables->setEnabled(true);
    // The first table of a newly chosen database; for the remembered one, the remembered table
    // (none when it is gone); none when the listing was asked for another database.
    int chosen = 0;
    if (!lastFile.isEmpty()) {
        const QString saved = SettingsStore::instance().value(Keys::AccessTableName);
        if (lastFile != m_source->txtMdbFile->text()) {
            chosen = -1;
        } else if (!saved.isEmpty()) {
            chosen = tables->findText(saved, Qt::MatchExactly | Qt::MatchCaseSensitive);
        }
    }
    tables->setCurrentIndex(chosen);
    m_cmdNext->setFocus();
}

std::unique_ptr<AccessDatabase> FrmMailMerge::OpenAccessDatabase()
{
    const QString path = m_source->txtMdbFile->text();
    Result<std::unique_ptr<AccessDatabase>> opened =
        AccessEngine::OpenDatabase(path, AccessImport::AccessConnect(path, m_source->txtPassword->text()));
    if (opened.ok()) {
        return std::move(opened).value();
    }
    // When the wizard first shows, a database that does not open (a stale password, a file
    // that changed) says nothing.
    if (m_firstShown) {
        return nullptr;
    }
    const Error& error = opened.error();
    if (error.code == AccessEngine::InvalidPassword || error.message.contains(u"Not a valid password"_s)) {
        MessageBoxes::show(
            {u"Please enter a valid password!"_s, u"Password required!"_s, MessageButtons::Ok, MessageIcon::None});
        m_source->chkPassWd->setChecked(true);
        m_source->txtPassword->setEnabled(true);
        m_source->txtPassword->setFocus();
    } else {
        MessageBoxes::information(error.message);
    }
    return nullptr;
}

void FrmMailMerge::OpenAccessSource()
{
    WaitCursor wait;
    QComboBox* tables = m_source->CboTable;
    if (tables->currentText() == AccessImport::NoTables) {
        return;
    }
    const QString path = TextUtil::trimSpaces(m_source->txtMdbFile->text());
    if (!FileExists(path)) {
        MessageBoxes::show({u"File Doesn't Exists"_s, u"Quillbay+"_s, MessageButtons::OkCancel});
        return;
    }
    const QScopedValueRollback importing(m_importing, true);
    if (m_source->txtMdbFile->text() != m_openedSource) {
        setTag(tables, QString());
        if (!tables->currentText().isEmpty()) {
            m_map.setColumns({});
            setTag(m_fieldMapPage->CboField[0], u"AccessTable"_s);
            setTag(tables, tables->currentText());
            m_progress->BeginProgress(17);
            m_progress->advance();
            m_map.setColumns(ReadTableColumns(tables->currentIndex()));
            // New columns on the map page: the next Next on it reads the rows again.
            m_mapImported = false;
            PrepareMapPage(MapSection{QString::fromLatin1(Keys::AccessSection), u"MDBFileName"_s}, path,
                           tables->currentText());
            m_openedSource = m_source->txtMdbFile->text();
            if (m_map.columns.isEmpty()) {
                setTag(tables, QString());
                m_openedSource = u"New File"_s;
                m_progress->finish();
                return;
            }
        }
    }
    ShowPage(FieldMapping);
    m_progress->finish();
}

QStringList FrmMailMerge::ReadTableColumns(int tableIndex)
{
    // An error in opening ends the step without the password dialogue.
    const QString path = m_source->txtMdbFile->text();
    const Result<std::unique_ptr<AccessDatabase>> database =
        AccessEngine::OpenDatabase(path, AccessImport::AccessConnect(path, m_source->txtPassword->text()));
    if (!database.ok()) {
        return {};
    }
    const Result<std::unique_ptr<AccessRecordset>> table =
        database.value()->openRecordset(m_source->CboTable->itemText(tableIndex));
    if (!table.ok()) {
        return {};
    }
    if (table.value()->recordCount() > 0) {
        return table.value()->fieldNames();
    }
    MessageBoxes::information(u"No Records!"_s);
    return {};
}

void FrmMailMerge::ImportAccessTable()
{
    if (!m_mapImported) {
        if (FieldMapMemory::MapIsEmpty(m_map)) {
            MessageBoxes::information(u"Please Map any Field"_s);
            endImport();
            return;
        }
        m_table.clear();
        WaitCursor wait;
        const QScopedValueRollback importing(m_importing, true);
        ApplyCustomHeadings();
        const QString path = TextUtil::trimSpaces(m_source->txtMdbFile->text());
        if (!FileExists(path)) {
            MessageBoxes::show({u"File Doesn't Exists"_s, u"Quillbay+"_s, MessageButtons::OkCancel});
            endImport();
            return;
        }
        std::vector<Contact> rows;
        {
            // The database stays open for the length of this step only.
            const QString name = m_source->txtMdbFile->text();
            const Result<std::unique_ptr<AccessDatabase>> database =
                AccessEngine::OpenDatabase(name, AccessImport::AccessConnect(name, m_source->txtPassword->text()));
            Result<std::unique_ptr<AccessRecordset>> table =
                database.ok() ? database.value()->openRecordset(Tag(m_source->CboTable))
                              : Result<std::unique_ptr<AccessRecordset>>(database.error());
            if (table.ok() && table.value()->recordCount() == 0) {
                MessageBoxes::information(u"No Records!"_s);
            } else if (table.ok()) {
                AccessRecordset& records = *table.value();
                m_progress->BeginProgress(records.recordCount());
                rows = AccessImport::importRows(records, m_map.listIndex,
                                                [this](int rowsRead) { importRowRead(rowsRead); });
                // A table whose rows break off (a damaged database) ends the step silently.
                if (records.failed()) {
                    rows.clear();
                }
            }
        }
        if (!takeImportedRows(std::move(rows))) {
            return;
        }
        SettingsStore& store = SettingsStore::instance();
        store.setValue(Keys::MdbFileNameWrite, m_source->txtMdbFile->text());
        store.setValue(Keys::AccessTableName, m_source->CboTable->currentText());
        store.setValue(Keys::AccessPassword, m_source->txtPassword->text());
        FieldMapMemory::SaveMap(m_map, QString::fromLatin1(Keys::AccessSection));
    }
    ShowPage(Contacts);
    m_mapImported = true;
    endImport();
}

// ---------------------------------------------------------------------------------------------
// Field map page

void FrmMailMerge::connectFieldMapPage()
{
    for (int field = 0; field < FieldMap::FieldCount; ++field) {
        QComboBox* box = m_fieldMapPage->CboField[field];
        connect(box, &QComboBox::activated, this, [this, field](int column) {
            m_map.choose(field, column);
            mapChanged();
        });
        connect(box, &QComboBox::editTextChanged, this, [this, field, box](const QString& text) {
            if (box->signalsBlocked() || text == m_map.text[field]) {
                return;
            }
            m_map.typeText(field, text);
            mapChanged();
        });
    }
    for (int k = 0; k < 3; ++k) {
        connect(m_fieldMapPage->txtCustom[k], &QLineEdit::textEdited, this, [this, k](const QString& text) {
            m_map.customNames[k] = text;
            mapChanged();
        });
    }
    connect(m_fieldMapPage->ChkSkip, &QCheckBox::clicked, this, [this] { m_mapImported = false; });
    connect(m_fieldMapPage->CmdDefault, &QPushButton::clicked, this, [this] {
        FieldMapMemory::DefaultMap(m_map);
        showFieldMap();
        mapChanged();
    });
    connect(m_fieldMapPage->CmdClear, &QPushButton::clicked, this, [this] {
        FieldMapMemory::ClearMap(m_map);
        showFieldMap();
        mapChanged();
    });
}

void FrmMailMerge::mapChanged()
{
    m_mapImported = false;
}

void FrmMailMerge::PrepareMapPage(const MapSection& where, const QString& path, const QString& chosenSheetOrTable)
{
    QCoreApplication::processEvents();
    for (int field = 1; field < FieldMap::FieldCount; ++field) {
        m_progress->advance();
    }
    FieldMapMemory::PrepareMapPage(m_map, where, path, chosenSheetOrTable);
    showFieldMap();
}

void FrmMailMerge::showFieldMap()
{
    for (int field = 0; field < FieldMap::FieldCount; ++field) {
        QComboBox* box = m_fieldMapPage->CboField[field];
        box->blockSignals(true);
        box->clear();
        box->addItems(m_map.columns);
        box->setCurrentIndex(m_map.listIndex[field]);
        box->setEditText(m_map.text[field]);
        box->blockSignals(false);
    }
    for (int k = 0; k < 3; ++k) {
        m_fieldMapPage->txtCustom[k]->setText(m_map.customNames[k]);
    }
}

void FrmMailMerge::ApplyCustomHeadings()
{
    for (int k = 0; k < 3; ++k) {
        const int cell = MergeFieldTable::FirstCustomCell + k;
        m_table.setCustomHeading(cell, TextUtil::trimSpaces(m_map.customNames[k]));
        m_contacts->LsvSelection->setColumnHidden(cell, false);
        m_contacts->LsvSelection->setColumnWidth(cell, Twips::toPixels(1440));
    }
}

// ---------------------------------------------------------------------------------------------
// Contact page

void FrmMailMerge::connectContactsPage()
{
    connect(&m_table, &ContactTable::checkToggled, this, &FrmMailMerge::LsvSelection_ItemCheck);
    connect(m_contacts->lblSel, &QLabel::linkActivated, this, &FrmMailMerge::lblSel_Click);
    connect(m_contacts->LsvSelection->horizontalHeader(), &QHeaderView::sectionClicked, this,
            &FrmMailMerge::LsvSelection_ColumnClick);
    m_contacts->LsvSelection->installEventFilter(this);
}

bool FrmMailMerge::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_contacts->LsvSelection && event->type() == QEvent::FocusIn) {
        setTag(m_contacts->lblConTitle, Change);
    }
    // Hovering over a "New" button underlines its caption.
    for (QPushButton* button : m_template->CmdNewTemplate) {
        if (watched == button && (event->type() == QEvent::Enter || event->type() == QEvent::Leave)) {
            QFont font = button->font();
            font.setUnderline(event->type() == QEvent::Enter);
            button->setFont(font);
        }
    }
    templatePictureEvent(watched, event);
    return QWidget::eventFilter(watched, event);
}

void FrmMailMerge::LsvSelection_ItemCheck(int position)
{
    QList<int> highlighted;
    const QModelIndexList selected = m_contacts->LsvSelection->selectionModel()->selectedRows();
    for (const QModelIndex& index : selected) {
        highlighted << index.row() + 1;
    }
    const QList<int> dropped = m_selection.LsvSelection_ItemCheck(position, highlighted);
    if (!dropped.isEmpty()) {
        m_contacts->LsvSelection->clearSelection();
    }
}

void FrmMailMerge::lblSel_Click()
{
    setTag(m_contacts->lblConTitle, Change);
    m_selection.lblSel_Click();
}

void FrmMailMerge::LsvSelection_ColumnClick(int column)
{
    const bool descending = m_selection.LsvSelection_ColumnClick(column);
    m_contacts->LsvSelection->setSortIcon(column, descending ? u"DOWN"_s : u"UP"_s);
}

void FrmMailMerge::fitStandardColumns()
{
    // Wide enough for each heading and its sort icon; the address column a little wider.
    QTableView* list = m_contacts->LsvSelection;
    for (int cell = 0; cell < MergeFieldTable::FirstCustomCell; ++cell) {
        list->setColumnWidth(cell, qMax(list->columnWidth(cell), list->horizontalHeader()->sectionSizeHint(cell)));
    }
    list->setColumnWidth(0, qMax(list->columnWidth(0), Twips::toPixels(3000)));
}

void FrmMailMerge::applyColumnPositions(const QList<int>& positions)
{
    // Placed in the order of their positions, so that every column lands where it was left.
    QList<int> columns(positions.size());
    std::iota(columns.begin(), columns.end(), 0);
    std::stable_sort(columns.begin(), columns.end(),
                     [&positions](int a, int b) { return positions.at(a) < positions.at(b); });
    QHeaderView* header = m_contacts->LsvSelection->horizontalHeader();
    for (const int column : columns) {
        header->moveSection(header->visualIndex(column), positions.at(column) - 1);
    }
}

QList<int> FrmMailMerge::columnPositions() const
{
    QList<int> positions;
    const QHeaderView* header = m_contacts->LsvSelection->horizontalHeader();
    for (int column = 0; column < MergeFieldTable::CellCount; ++column) {
        positions << header->visualIndex(column) + 1;
    }
    return positions;
}

void FrmMailMerge::FillRecipientLists()
{
    setTag(m_contacts->lblConTitle, QString());
    m_compose->CboPTo->clear();
    m_compose->CboPIndex->clear();
    const bool attachment = m_template->ChkAttachment->isChecked();
    m_compose->G1_Tab->setTabEnabled(3, attachment);
    if (attachment) {
        m_compose->cboPAtTo->clear();
        m_compose->CboPAtIndex->clear();
    }
    m_progress->BeginProgress(m_table.count());
    for (int position = 1; position <= m_table.count(); ++position) {
        if (m_table.at(position).checked) {
            const QString address = m_table.cell(position, 0);
            m_compose->CboPTo->addItem(address);
            m_compose->CboPIndex->addItem(QString::number(position));
            if (attachment) {
                m_compose->cboPAtTo->addItem(address);
                m_compose->CboPAtIndex->addItem(QString::number(position));
            }
        }
        m_progress->advance();
    }
    m_compose->CboPTo->setCurrentIndex(-1);
    m_compose->cboPAtTo->setCurrentIndex(-1);
    m_progress->finish();
}

// ---------------------------------------------------------------------------------------------
// Template page

void FrmMailMerge::connectTemplatePage()
{
    TemplatePage* page = m_template;
    page->ChkMailMerge->setChecked(true);
    connect(page->ChkMailMerge, &QCheckBox::clicked, this, &FrmMailMerge::ChkMailMerge_Click);
    connect(page->ChkPostalMerge, &QCheckBox::clicked, this, &FrmMailMerge::ChkPostalMerge_Click);
    connect(page->ChkAttachment, &QCheckBox::clicked, this, &FrmMailMerge::ChkAttachment_Click);
    for (int i = 0; i < 2; ++i) {
        connect(page->CmdBrowseTemplate[i], &QPushButton::clicked, this, [this, i] { CmdBrowseTemplate_Click(i); });
        connect(page->CmdEdit[i], &QPushButton::clicked, this, [this, i] { CmdEdit_Click(i); });
        connect(page->CmdNewTemplate[i], &QPushButton::clicked, this, [this, i] { CmdNewTemplate_Click(i); });
        connect(page->txtTemplate[i], &QLineEdit::textChanged, this, [this, i] { txtTemplate_Change(i); });
        connect(page->lblLink[i], &QLabel::linkActivated, this, &FrmMailMerge::lblLink_Click);
        connect(page->OptDocs[i], &QRadioButton::clicked, this, [this, i] { OptDocs_Click(i); });
        page->CmdNewTemplate[i]->installEventFilter(this);
    }
    for (QWidget* clickable :
         std::initializer_list<QWidget*>{page->Image5, page->Image1, m_finish->ImgDoc, m_finish->lblOpenDoc}) {
        clickable->installEventFilter(this);
    }
    connect(page->cmdBrowseDoc, &QPushButton::clicked, this, &FrmMailMerge::cmdBrowseDoc_Click);
    EnableAttachmentControls();
    DisablePostalControls();
}

void FrmMailMerge::ChkMailMerge_Click()
{
    setTag(m_contacts->lblConTitle, Change);
    m_template->ChkPostalMerge->setChecked(!m_template->ChkMailMerge->isChecked());
    if (m_template->ChkMailMerge->isChecked()) {
        DisablePostalControls();
        EnableAttachmentControls();
        m_cmdNext->setText(NextCaption);
    } else {
        EnablePostalControls();
        DisableAttachmentControls();
        m_cmdNext->setText(StartCaption);
    }
}

void FrmMailMerge::ChkPostalMerge_Click()
{
    setTag(m_contacts->lblConTitle, Change);
    m_template->ChkMailMerge->setChecked(!m_template->ChkPostalMerge->isChecked());
    if (m_template->ChkPostalMerge->isChecked()) {
        EnablePostalControls();
        DisableAttachmentControls();
        m_cmdNext->setText(StartCaption);
    } else {
        DisablePostalControls();
        EnableAttachmentControls();
        m_cmdNext->setText(NextCaption);
    }
}

void FrmMailMerge::ChkAttachment_Click()
{
    if (m_template->ChkAttachment->isChecked()) {
        EnableAttachmentControls();
    } else {
        DisableAttachmentControls();
        m_template->ChkAttachment->setEnabled(true);
    }
}

void FrmMailMerge::EnableAttachmentControls()
{
    TemplatePage* page = m_template;
    page->ChkAttachment->setEnabled(true);
    const bool on = page->ChkAttachment->isChecked();
    for (QWidget* control :
         std::initializer_list<QWidget*>{page->CmdNewTemplate[0], page->txtTemplate[0], page->CmdBrowseTemplate[0],
                                         page->lblLink[0], page->Label1}) {
        control->setEnabled(on);
    }
    page->CmdEdit[0]->setEnabled(on && !page->txtTemplate[0]->text().isEmpty());
}

void FrmMailMerge::DisableAttachmentControls()
{
    TemplatePage* page = m_template;
    for (QWidget* control : std::initializer_list<QWidget*>{page->ChkAttachment, page->CmdNewTemplate[0],
                                                            page->txtTemplate[0], page->CmdBrowseTemplate[0],
                                                            page->CmdEdit[0], page->lblLink[0], page->Label1}) {
        control->setEnabled(false);
    }
}

void FrmMailMerge::EnablePostalControls()
{
    TemplatePage* page = m_template;
    for (QWidget* control : std::initializer_list<QWidget*>{
             page->CmdNewTemplate[1], page->txtTemplate[1], page->CmdBrowseTemplate[1], page->lblLink[1], page->label9,
             page->Label10, page->OptDocs[0], page->OptDocs[1], page->lblDocs, page->txtDocs, page->cmdBrowseDoc}) {
        control->setEnabled(true);
    }
    page->CmdEdit[1]->setEnabled(!page->txtTemplate[1]->text().isEmpty());
}

void FrmMailMerge::DisablePostalControls()
{
    TemplatePage* page = m_template;
    for (QWidget* control : std::initializer_list<QWidget*>{
             page->CmdNewTemplate[1], page->txtTemplate[1], page->CmdBrowseTemplate[1], page->CmdEdit[1],
             page->lblLink[1], page->label9, page->Label10, page->OptDocs[0], page->OptDocs[1], page->lblDocs,
             page->txtDocs, page->cmdBrowseDoc}) {
        control->setEnabled(false);
    }
}

void FrmMailMerge::CmdBrowseTemplate_Click(int index)
{
    const QString name = Dialogs::ShowFileDialog(u"Word Documents (*.doc;*.docx)|*.doc;*.docx"_s, {}, this);
    if (name.isEmpty()) {
        return;
    }
    if (!wordlink::endsAsWordDocument(name)) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return;
    }
    m_template->txtTemplate[index]->setText(name);
    setTag(m_template->CmdBrowseTemplate[index], Change);
    setTag(m_contacts->lblConTitle, Change);
}

void FrmMailMerge::CmdEdit_Click(int index)
{
    QLineEdit* box = m_template->txtTemplate[index];
    if (box->text().isEmpty()) {
        return;
    }
    setTag(m_template->CmdEdit[index], Change);
    setTag(m_contacts->lblConTitle, Change);
    const QString name = TextUtil::trimSpaces(box->text());
    if (FileExists(name)) {
        EditInWord(name);
    } else {
        m_template->CmdEdit[index]->setEnabled(false);
    }
}

void FrmMailMerge::CmdNewTemplate_Click(int index)
{
    setTag(m_template->CmdNewTemplate[index], Change);
    EditInWord(QString());
}

FrmMailMerge::~FrmMailMerge() = default;

void FrmMailMerge::EditInWord(const QString& path)
{
    if (!m_templateEditing) {
        m_templateEditing = std::make_unique<TemplateEditing>(*this);
    }
    m_templateEditing->EditInWord(path);
}

void FrmMailMerge::txtTemplate_Change(int index)
{
    m_cmdNext->setEnabled(true);
    setTag(m_template->txtTemplate[index], u"change"_s);
    setTag(m_contacts->lblConTitle, Change);
    // Also on a disabled side, when the name comes from elsewhere than the user's typing.
    m_template->CmdEdit[index]->setEnabled(!m_template->txtTemplate[index]->text().isEmpty());
}

void FrmMailMerge::OptDocs_Click(int option)
{
    m_template->txtDocs->setText(Tag(m_template->OptDocs[option]));
    m_template->lblDocs->setText(option == 0 ? u"Save the word document as"_s : u"Save Documents in the folder"_s);
}

void FrmMailMerge::cmdBrowseDoc_Click()
{
    if (m_template->OptDocs[0]->isChecked()) {
        BrowseOutputTarget(0);
    } else if (m_template->OptDocs[1]->isChecked()) {
        BrowseOutputTarget(1);
    } else {
        MessageBoxes::information(u"Please select any option"_s);
        m_template->OptDocs[0]->setFocus();
    }
}

void FrmMailMerge::BrowseOutputTarget(int option)
{
    if (option == 0) {
        const QString name = Dialogs::ShowSaveDialog(u"Word Documents (*.doc;*.docx)|*.doc;*.docx"_s, {}, this);
        if (name.isEmpty()) {
            return;
        }
        if (!wordlink::endsAsWordDocument(name)) {
            MessageBoxes::information(u"Not a Legal Source"_s);
            return;
        }
        m_template->txtDocs->setText(name);
        setTag(m_template->OptDocs[0], name);
        return;
    }
    const QString folder = Dialogs::BrowseForFolder(u"Select a Folder :"_s, 0, this);
    if (!folder.isEmpty()) {
        m_template->txtDocs->setText(folder);
        setTag(m_template->OptDocs[1], folder);
    }
}

void FrmMailMerge::templatePictureEvent(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonRelease) {
        // Image5_Click and Image1_Click work while their link is enabled; ImgDoc_Click always.
        if ((watched == m_template->Image5 && m_template->lblLink[0]->isEnabled()) ||
            (watched == m_template->Image1 && m_template->lblLink[1]->isEnabled())) {
            lblLink_Click();
        } else if (watched == m_finish->ImgDoc || watched == m_finish->lblOpenDoc) {
            lblOpenDoc_Click();
        }
    } else if ((watched == m_finish->ImgDoc || watched == m_finish->lblOpenDoc) &&
               (event->type() == QEvent::Enter || event->type() == QEvent::Leave)) {
        // The label is underlined while the mouse is over it or its picture.
        QFont font = m_finish->lblOpenDoc->font();
        font.setUnderline(event->type() == QEvent::Enter);
        m_finish->lblOpenDoc->setFont(font);
    }
}

void FrmMailMerge::lblLink_Click()
{
    QUrl help = QUrl::fromLocalFile(AppPaths::helpFile());
    help.setFragment(u"template"_s);
    QDesktopServices::openUrl(help);
}

void FrmMailMerge::LeaveTemplatePage()
{
    TemplatePage* page = m_template;
    if (page->ChkMailMerge->isChecked() && page->ChkAttachment->isChecked()) {
        const QString name = TextUtil::trimSpaces(page->txtTemplate[0]->text());
        if (name.isEmpty() || !FileExists(name)) {
            MessageBoxes::information(u"Select a Valid Template File"_s);
            page->txtTemplate[0]->setFocus();
            return;
        }
        if (!Tag(page->CmdEdit[0]).isEmpty() || !Tag(page->CmdBrowseTemplate[0]).isEmpty() ||
            !Tag(page->CmdNewTemplate[0]).isEmpty() || !Tag(page->txtTemplate[0]).isEmpty()) {
            page->lblLoad->setVisible(true);
            page->lblLoad->repaint();
            ScanDocTokens();
            page->lblLoad->setVisible(false);
        }
        if (Tag(m_contacts->lblConTitle) == Change) {
            FillRecipientLists();
        }
        m_compose->G1_Tab->setCurrentIndex(0);
        m_compose->G1_Tab->setTabEnabled(3, true);
        if (!m_compose->isInitialised()) {
            InitComposer();
        }
        ShowPage(Compose);
        return;
    }
    if (!page->ChkPostalMerge->isChecked()) {
        return;
    }
    const QString name = TextUtil::trimSpaces(page->txtTemplate[1]->text());
    if (name.isEmpty() || !FileExists(name)) {
        MessageBoxes::information(u"Select a Valid Template File"_s);
        page->txtTemplate[1]->setFocus();
        return;
    }
    if (page->OptDocs[0]->isChecked()) {
        if (page->txtDocs->text().isEmpty()) {
            MessageBoxes::information(u"Choose the document name to be saved"_s);
            BrowseOutputTarget(0);
        } else if (page->txtDocs->text() == page->txtTemplate[1]->text()) {
            MessageBoxes::information(u"Document Name Invalid"_s);
            page->txtDocs->clear();
            page->txtDocs->setFocus();
        } else {
            m_finish->FinishTab->setTabText(0, u"Send File"_s);
            PostalMergeRun(QString());
            m_cancelFlag = false;
            m_finish->PicOpen->setVisible(true);
        }
    } else if (page->OptDocs[1]->isChecked()) {
        if (page->txtDocs->text().isEmpty()) {
            MessageBoxes::information(u"Please select a folder"_s);
            BrowseOutputTarget(1);
        } else {
            MakeFolder(TextUtil::trimSpaces(page->txtDocs->text()));
            m_finish->FinishTab->setTabText(0, u"Send Files"_s);
            PostalMergeRun(TextUtil::trimSpaces(page->txtDocs->text()));
            m_cancelFlag = false;
        }
    } else {
        MessageBoxes::information(u"Please select any option!"_s);
        page->OptDocs[0]->setFocus();
    }
}

// ---------------------------------------------------------------------------------------------
// Composer page and the way of sending

void FrmMailMerge::connectSendAndFinishPages()
{
    connect(m_finish->CmdCancelSend, &QPushButton::clicked, this, &FrmMailMerge::CmdCancelSend_Click);
    connect(m_send->CmdTestSend, &QPushButton::clicked, this, &FrmMailMerge::CmdTestSend_Click);
    connect(m_send->CmdSMTP, &QPushButton::clicked, this, [] {
        FrmSmtp* settings = FrmSmtp::instance();
        settings->show();
        settings->raise();
    });
}

void FrmMailMerge::PrepareFieldMenu()
{
    std::array<QString, 3> headings;
    for (int k = 0; k < 3; ++k) {
        headings[k] = m_table.heading(MergeFieldTable::FirstCustomCell + k);
    }
    m_compose->PrepareFieldMenu(DataSources::isFileLike(sourceIndex()), headings);
}

void FrmMailMerge::InitComposer()
{
    m_compose->InitComposer();
}

void FrmMailMerge::DisableComposerToolbar()
{
    m_compose->DisableComposerToolbar();
}

void FrmMailMerge::ScanMailTokens()
{
    WaitCursor wait;
    const QString html = m_compose->DocumentHTML();
    bool shown = false;
    m_tokens.setSourceIndex(sourceIndex());
    m_tokens.ScanMailTokens(html, [this, &shown](double width) {
        if (!shown) {
            m_progress->BeginProgress(1);
            shown = true;
        }
        m_progress->setWidth(width);
    });
    m_progress->finish();
    showSelectedSource();
    setTag(m_cmdNext, QString());
}

void FrmMailMerge::showSelectedSource()
{
    const int index = sourceIndex();
    m_send->Label5[0]->setText(index == 1 ? u"Selected Folder :"_s : u"Selected File :"_s);
    QString source;
    switch (index) {
    case 1:
        source = m_source->txtContact->text();
        break;
    case 2:
        source = m_source->txtXlSheet->text();
        break;
    case 3:
        source = m_source->txtMdbFile->text();
        break;
    default:
        source = m_source->txtWabfile->text();
        break;
    }
    m_send->txtselected[0]->setText(source);
    m_send->txtselected[1]->setText(QString::number(m_compose->CboPTo->count()) + u" Contacts"_s);
    OfferResume();
}

RunIdentity FrmMailMerge::runIdentity() const
{
    return {m_send->txtselected[0]->text(),
            m_template->ChkAttachment->isChecked() ? TextUtil::trimSpaces(m_template->txtTemplate[0]->text())
                                                   : QString(),
            m_compose->txtSubject->text(), m_compose->CboPTo->count()};
}

void FrmMailMerge::OfferResume()
{
    m_pastRun = PastRun::latestInterrupted(AppPaths::file(u"Runs"_s), runIdentity());
    m_send->ChkResume->setVisible(m_pastRun.has_value());
    m_send->ChkResume->setChecked(m_pastRun.has_value());
    if (m_pastRun) {
        m_send->ChkResume->setText(u"Resume the interrupted run (%1 of %2 sent)"_s.arg(m_pastRun->sentCount())
                                       .arg(m_pastRun->identity().contacts));
    }
}

void FrmMailMerge::ScanDocTokens()
{
    {
        WaitCursor wait;
        m_tokens.setSourceIndex(sourceIndex());
        DocumentMerge::ScanDocTokens(m_tokens, m_template->txtTemplate[0]->text());
    }
    for (QObject* control :
         std::initializer_list<QObject*>{m_template->CmdEdit[0], m_template->CmdBrowseTemplate[0],
                                         m_template->CmdNewTemplate[0], m_template->txtTemplate[0]}) {
        setTag(control, QString());
    }
}

void FrmMailMerge::PostalMergeRun(const QString& folder)
{
    m_tokens.setSourceIndex(sourceIndex());
    WizardRunView view(*this);
    ::PostalMergeRun run(view);
    m_postalRun = &run;
    m_finishShowsLetters = true;
    m_finish->lblCounts->setVisible(false);
    run.run({&m_table, &m_tokens, m_template->txtTemplate[1]->text(), m_template->txtDocs->text(),
             m_selection.SelectedCount()},
            folder);
    m_postalRun = nullptr;
}

void FrmMailMerge::lblOpenDoc_Click()
{
    // The combined document, named as the box reads without trimming, opens in the office
    // suite's visible writer and is left to the user; nothing opens when it is not there.
    wordlink::setWordRunning(true);
    wordlink::openForUser(m_template->txtDocs->text());
    wordlink::setWordRunning(false);
}

void FrmMailMerge::syncTokenSettings()
{
    m_tokens.setSourceIndex(sourceIndex());
    BlankReplacers blanks;
    for (int k = 0; k < 4; ++k) {
        blanks.texts[k] = m_fieldMapPage->TxtBlank[k]->text();
    }
    m_tokens.setBlankReplacers(blanks);
}

Result<QString> FrmMailMerge::attachmentPreview(int row)
{
    // The whole pass with every field, ignoring the document token list.
    wordlink::WordJob job;
    const QString templatePath = TextUtil::trimSpaces(m_template->txtTemplate[0]->text());
    const QString preview = AppPaths::file(u"DocPreview"_s + DocumentMerge::mergedExtension(templatePath));
    const std::unique_ptr<wordlink::DocumentApplication> application = wordlink::NewApplication();
    const Status merged = DocumentMerge(*application, m_tokens).MergeDocAllFields(row, templatePath, preview);
    application->Quit();
    if (!merged.ok()) {
        return merged.error();
    }
    return preview;
}

SendRunInput FrmMailMerge::sendRunInput(MergedAttachment& attachment)
{
    SendRunInput input;
    for (int i = 0; i < m_compose->CboPTo->count(); ++i) {
        input.addresses << m_compose->CboPTo->itemText(i);
        input.rows << m_compose->CboPIndex->itemText(i).toInt();
    }
    input.subjectBox = m_compose->txtSubject->text();
    input.html = m_compose->DocumentHTML();
    syncTokenSettings();
    input.tokens = &m_tokens;
    if (m_template->ChkAttachment->isChecked()) {
        input.attachment = &attachment;
    }
    return input;
}

RunOutcome FrmMailMerge::RunSmtpSend()
{
    return runSend(nullptr);
}

RunOutcome FrmMailMerge::RunOutboxSend()
{
    SendmailTransport outbox(SettingsStore::instance().value(Keys::SendmailPath));
    return runSend(&outbox);
}

RunOutcome FrmMailMerge::runSend(MailTransport* outbox)
{
    m_finishShowsLetters = false;
    m_finish->lblCounts->setVisible(false);
    MergedAttachment attachment(m_tokens, TextUtil::trimSpaces(m_template->txtTemplate[0]->text()));
    SendRunInput input = sendRunInput(attachment);
    const bool resuming = m_pastRun && m_send->ChkResume->isChecked();
    // A journal that cannot be written leaves the run without one; the mails go all the same.
    Result<std::unique_ptr<DeliveryJournal>> journal =
        resuming ? DeliveryJournal::resume(*m_pastRun)
                 : DeliveryJournal::create(DeliveryJournal::newPath(), runIdentity());
    if (journal.ok()) {
        input.journal = journal.value().get();
    }
    input.resumed = resuming ? &*m_pastRun : nullptr;
    WizardRunView view(*this);
    SmtpSendRun run(view, SmtpAccount::current(), outbox);
    m_smtpRun = &run;
    const RunOutcome outcome = outbox == nullptr ? run.RunSmtpSend(input) : run.RunOutboxSend(input);
    m_smtpRun = nullptr;
    m_finish->showDeliveryReport(run.counts().text(), input.journal != nullptr ? input.journal->path() : QString());
    OfferResume();
    return outcome;
}

void FrmMailMerge::CmdTestSend_Click()
{
    const QString me = SmtpAccount::current().fromEmail;
    if (me.isEmpty()) {
        MessageBoxes::information(u"Please enter your e-mail address in the SMTP Settings first."_s);
        return;
    }
    MergedAttachment attachment(m_tokens, TextUtil::trimSpaces(m_template->txtTemplate[0]->text()));
    const SendRunInput input = sendRunInput(attachment);
    if (input.rows.isEmpty()) {
        return;
    }
    const int position = qBound(0, m_compose->CboPTo->currentIndex(), static_cast<int>(input.rows.size()) - 1);
    ContactDelivery test;
    {
        WaitCursor wait;
        WizardRunView view(*this);
        SmtpSendRun run(view, SmtpAccount::current());
        test = run.SendTest(input, input.rows.at(position), me);
    }
    MessageBoxes::information(
        u"The mail of %1 went to %2 alone.\n\n%3"_s.arg(input.addresses.at(position), me, test.summary()));
}

void FrmMailMerge::CmdCancelSend_Click()
{
    m_cancelFlag = true;
    if (m_smtpRun != nullptr) {
        m_smtpRun->CmdCancelSend_Click();
    }
    if (m_postalRun != nullptr) {
        m_postalRun->CmdCancelSend_Click();
    }
}
