#include "FrmMailMerge.h"

#include "ContactsController.h"
#include "ProgressPanel.h"
#include "SendController.h"
#include "SourceController.h"
#include "TemplateController.h"
#include "TemplateEditing.h"
#include "WizardMarks.h"
#include "WizardPages.h"
#include "composer/ComposePage.h"
#include "contacts/MergeFieldTable.h"
#include "core/CommonRoutines.h"
#include "core/MessageBoxes.h"
#include "core/TextUtil.h"
#include "core/WaitCursor.h"
#include "delivery/SmtpAccount.h"
#include "wizard/WizardMemory.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QTabWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace WizardCaptions;

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

    m_contactsController = new ContactsController(*this);
    m_sourceController = new SourceController(*this);
    m_templateController = new TemplateController(*this);
    m_sendController = new SendController(*this);
    for (int i = 0; i < 2; ++i) {
        connect(m_template->CmdEdit[i], &QPushButton::clicked, this, [this, i] { CmdEdit_Click(i); });
        connect(m_template->CmdNewTemplate[i], &QPushButton::clicked, this, [this, i] { CmdNewTemplate_Click(i); });
    }
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
    m_sourceController->FillSourceList();
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
    m_sourceController->ListRememberedSources();
    m_firstShown = false;
}

void FrmMailMerge::closeEvent(QCloseEvent* event)
{
    if (m_sourceController->importing()) {
        // An import lets events through as it goes; the window stays until it has ended.
        event->ignore();
        return;
    }
    if (m_sendController->running()) {
        // A run in hand is cancelled first; the window stays until it has ended.
        m_sendController->CmdCancelSend_Click();
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
    m_sourceController->loadMemory(values);
    m_contactsController->loadMemory(values);
    m_send->OptSMTP->setChecked(values.sendWay == WizardMemoryValues::SendWay::Smtp);
    m_send->OptOutbox->setChecked(values.sendWay == WizardMemoryValues::SendWay::Outbox);
}

void FrmMailMerge::SaveWizardMemory()
{
    WizardMemoryValues values;
    m_sourceController->saveMemory(values);
    m_contactsController->saveMemory(values);
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

const FieldMap& FrmMailMerge::fieldMap() const
{
    return m_sourceController->fieldMap();
}

bool FrmMailMerge::mapImported() const
{
    return m_sourceController->mapImported();
}

std::optional<QString> FrmMailMerge::openedSource() const
{
    return m_sourceController->openedSource();
}

void FrmMailMerge::ShowPage(int page)
{
    if (page == Compose) {
        m_sendController->PrepareFieldMenu();
        m_sendController->syncTokenSettings();
    }
    m_currentPage = page;
    m_pages->setCurrentIndex(page);
    if (page == DataSource) {
        m_sourceController->showChosenPanel();
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
    if (m_sourceController->importing()) {
        return;
    }
    if (m_cmdNext->text() == FinishCaption && m_currentPage == Finish) {
        close();
        return;
    }
    switch (m_currentPage) {
    case DataSource:
        m_sourceController->ImportSource(static_cast<SourceKind>(sourceIndex()));
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
            m_compose->DisableComposerToolbar();
            m_compose->G1_Tab->setCurrentIndex(0);
            if (m_changes.recipients) {
                m_contactsController->FillRecipientLists();
            }
            if (!m_compose->isInitialised()) {
                m_compose->InitComposer();
            }
            ShowPage(Compose);
            m_compose->G1_Tab->setTabEnabled(3, false);
        } else {
            m_templateController->LeaveTemplatePage();
        }
        break;
    case Compose:
        if (m_compose->txtSubject->text().isEmpty()) {
            MessageBoxes::information(u"Please Specify a Subject"_s);
            m_compose->txtSubject->setFocus();
        } else {
            m_sendController->ScanMailTokens();
            ShowPage(SendWay);
            m_cmdNext->setText(StartCaption);
        }
        break;
    case SendWay: {
        RunOutcome outcome;
        if (m_send->OptSMTP->isChecked()) {
            outcome = m_sendController->RunSmtpSend();
        } else if (m_send->OptOutbox->isChecked()) {
            m_cmdNext->setText(FinishCaption);
            m_cmdNext->setEnabled(false);
            outcome = m_sendController->RunOutboxSend();
        } else {
            MessageBoxes::information(u"Select any Option"_s);
            break;
        }
        // A run that ended with "Process Cancelled!" (cancelled or failed) leaves Finish off.
        m_cmdNext->setEnabled(outcome.completed());
        break;
    }
    case FieldMapping:
        m_sourceController->ImportMappedSource();
        break;
    default:
        break;
    }
    UpdateSelectedCount();
    m_cmdBack->setEnabled(m_currentPage != DataSource);
}

void FrmMailMerge::CmdBack_Click()
{
    if (m_sourceController->importing()) {
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
            m_compose->InitComposer();
        }
        ShowPage(Compose);
        m_cmdNext->setText(NextCaption);
        break;
    case Finish:
        ShowPage(m_sendController->finishShowsLetters() ? Template : SendWay);
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
    if (m_sourceController->importing()) {
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
// Template page: its editing buttons

void FrmMailMerge::CmdEdit_Click(int index)
{
    QLineEdit* box = m_template->txtTemplate[index];
    if (box->text().isEmpty()) {
        return;
    }
    m_changes.templateChanged(index);
    const QString name = TextUtil::trimSpaces(box->text());
    if (FileExists(name)) {
        EditInWord(name);
    } else {
        m_template->CmdEdit[index]->setEnabled(false);
    }
}

void FrmMailMerge::CmdNewTemplate_Click(int index)
{
    if (index == 0) {
        m_changes.mailTemplate = true;
    }
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
