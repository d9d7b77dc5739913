#include "TemplateController.h"

#include "ContactsController.h"
#include "FrmMailMerge.h"
#include "SendController.h"
#include "WizardMarks.h"
#include "WizardPages.h"
#include "composer/ComposePage.h"
#include "core/AppPaths.h"
#include "core/CommonRoutines.h"
#include "core/Dialogs.h"
#include "core/MessageBoxes.h"
#include "core/TextUtil.h"
#include "wordlink/WordDocumentNames.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QUrl>

using namespace Qt::StringLiterals;
using WizardCaptions::NextCaption;
using WizardCaptions::StartCaption;

namespace {

const QString WordFilter = u"Word Documents (*.doc;*.docx)|*.doc;*.docx"_s;

// The name a Word dialog gave: false for a cancelled dialog, and with "Not a Legal Source" for a
// name that is no Word document.
bool isChosenWordDocument(const QString& name)
{
    if (name.isEmpty()) {
        return false;
    }
    if (!wordlink::isWordDocumentName(name)) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return false;
    }
    return true;
}

} // namespace

TemplateController::TemplateController(FrmMailMerge& wizard)
    : QObject(&wizard)
    , m_wizard(wizard)
    , m_template(wizard.templatePage())
{
    connectTemplatePage();
}

void TemplateController::connectTemplatePage()
{
    TemplatePage* page = m_template;
    page->ChkMailMerge->setChecked(true);
    connect(page->ChkMailMerge, &QCheckBox::clicked, this, &TemplateController::ChkMailMerge_Click);
    connect(page->ChkPostalMerge, &QCheckBox::clicked, this, &TemplateController::ChkPostalMerge_Click);
    connect(page->ChkAttachment, &QCheckBox::clicked, this, &TemplateController::ChkAttachment_Click);
    for (int i = 0; i < 2; ++i) {
        connect(page->CmdBrowseTemplate[i], &QPushButton::clicked, this, [this, i] { CmdBrowseTemplate_Click(i); });
        connect(page->txtTemplate[i], &QLineEdit::textChanged, this, [this, i] { txtTemplate_Change(i); });
        connect(page->lblLink[i], &QLabel::linkActivated, this, &TemplateController::lblLink_Click);
        connect(page->OptDocs[i], &QRadioButton::clicked, this, [this, i] { OptDocs_Click(i); });
        page->CmdNewTemplate[i]->installEventFilter(this);
    }
    page->Image5->installEventFilter(this);
    page->Image1->installEventFilter(this);
    connect(page->cmdBrowseDoc, &QPushButton::clicked, this, &TemplateController::cmdBrowseDoc_Click);
    EnableAttachmentControls();
    DisablePostalControls();
}

void TemplateController::ChkMailMerge_Click()
{
    chooseMergeKind(m_template->ChkMailMerge->isChecked());
}

void TemplateController::ChkPostalMerge_Click()
{
    chooseMergeKind(!m_template->ChkPostalMerge->isChecked());
}

void TemplateController::chooseMergeKind(bool mail)
{
    m_wizard.changes().recipients = true;
    m_template->ChkMailMerge->setChecked(mail);
    m_template->ChkPostalMerge->setChecked(!mail);
    if (mail) {
        DisablePostalControls();
        EnableAttachmentControls();
        m_wizard.CmdNext()->setText(NextCaption);
    } else {
        EnablePostalControls();
        DisableAttachmentControls();
        m_wizard.CmdNext()->setText(StartCaption);
    }
}

void TemplateController::ChkAttachment_Click()
{
    if (m_template->ChkAttachment->isChecked()) {
        EnableAttachmentControls();
    } else {
        DisableAttachmentControls();
        m_template->ChkAttachment->setEnabled(true);
    }
}

void TemplateController::EnableAttachmentControls()
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

void TemplateController::DisableAttachmentControls()
{
    TemplatePage* page = m_template;
    for (QWidget* control : std::initializer_list<QWidget*>{page->ChkAttachment, page->CmdNewTemplate[0],
                                                            page->txtTemplate[0], page->CmdBrowseTemplate[0],
                                                            page->CmdEdit[0], page->lblLink[0], page->Label1}) {
        control->setEnabled(false);
    }
}

void TemplateController::EnablePostalControls()
{
    TemplatePage* page = m_template;
    for (QWidget* control : std::initializer_list<QWidget*>{
             page->CmdNewTemplate[1], page->txtTemplate[1], page->CmdBrowseTemplate[1], page->lblLink[1], page->label9,
             page->Label10, page->OptDocs[0], page->OptDocs[1], page->lblDocs, page->txtDocs, page->cmdBrowseDoc}) {
        control->setEnabled(true);
    }
    page->CmdEdit[1]->setEnabled(!page->txtTemplate[1]->text().isEmpty());
}

void TemplateController::DisablePostalControls()
{
    TemplatePage* page = m_template;
    for (QWidget* control : std::initializer_list<QWidget*>{
             page->CmdNewTemplate[1], page->txtTemplate[1], page->CmdBrowseTemplate[1], page->CmdEdit[1],
             page->lblLink[1], page->label9, page->Label10, page->OptDocs[0], page->OptDocs[1], page->lblDocs,
             page->txtDocs, page->cmdBrowseDoc}) {
        control->setEnabled(false);
    }
}

void TemplateController::CmdBrowseTemplate_Click(int index)
{
    const QString name = Dialogs::ShowFileDialog(WordFilter, {}, &m_wizard);
    if (!isChosenWordDocument(name)) {
        return;
    }
    m_template->txtTemplate[index]->setText(name);
    m_wizard.changes().templateChanged(index);
}

void TemplateController::txtTemplate_Change(int index)
{
    m_wizard.CmdNext()->setEnabled(true);
    m_wizard.changes().templateChanged(index);
    // Also on a disabled side, when the name comes from elsewhere than the user's typing.
    m_template->CmdEdit[index]->setEnabled(!m_template->txtTemplate[index]->text().isEmpty());
}

void TemplateController::OptDocs_Click(int option)
{
    m_template->txtDocs->setText(m_outputTargets.at(option));
    m_template->lblDocs->setText(option == 0 ? u"Save the word document as"_s : u"Save Documents in the folder"_s);
}

void TemplateController::cmdBrowseDoc_Click()
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

void TemplateController::BrowseOutputTarget(int option)
{
    if (option == 0) {
        const QString name = Dialogs::ShowSaveDialog(WordFilter, {}, &m_wizard);
        if (!isChosenWordDocument(name)) {
            return;
        }
        m_template->txtDocs->setText(name);
        m_outputTargets[0] = name;
        return;
    }
    const QString folder = Dialogs::BrowseForFolder(u"Select a Folder :"_s, 0, &m_wizard);
    if (!folder.isEmpty()) {
        m_template->txtDocs->setText(folder);
        m_outputTargets[1] = folder;
    }
}

bool TemplateController::eventFilter(QObject* watched, QEvent* event)
{
    // Hovering over a "New" button underlines its caption.
    for (QPushButton* button : m_template->CmdNewTemplate) {
        if (watched == button && (event->type() == QEvent::Enter || event->type() == QEvent::Leave)) {
            QFont font = button->font();
            font.setUnderline(event->type() == QEvent::Enter);
            button->setFont(font);
        }
    }
    // Image5_Click and Image1_Click work while their link is enabled.
    if (event->type() == QEvent::MouseButtonRelease &&
        ((watched == m_template->Image5 && m_template->lblLink[0]->isEnabled()) ||
         (watched == m_template->Image1 && m_template->lblLink[1]->isEnabled()))) {
        lblLink_Click();
    }
    return QObject::eventFilter(watched, event);
}

void TemplateController::lblLink_Click()
{
    QUrl help = QUrl::fromLocalFile(AppPaths::helpFile());
    help.setFragment(u"template"_s);
    QDesktopServices::openUrl(help);
}

void TemplateController::LeaveTemplatePage()
{
    TemplatePage* page = m_template;
    ComposePage* compose = m_wizard.composePage();
    FinishPage* finish = m_wizard.finishPage();
    if (page->ChkMailMerge->isChecked() && page->ChkAttachment->isChecked()) {
        const QString name = TextUtil::trimSpaces(page->txtTemplate[0]->text());
        if (name.isEmpty() || !FileExists(name)) {
            MessageBoxes::information(u"Select a Valid Template File"_s);
            page->txtTemplate[0]->setFocus();
            return;
        }
        if (m_wizard.changes().mailTemplate) {
            page->lblLoad->setVisible(true);
            page->lblLoad->repaint();
            m_wizard.sendController()->ScanDocTokens();
            page->lblLoad->setVisible(false);
        }
        if (m_wizard.changes().recipients) {
            m_wizard.contactsController()->FillRecipientLists();
        }
        compose->G1_Tab->setCurrentIndex(0);
        compose->G1_Tab->setTabEnabled(3, true);
        if (!compose->isInitialised()) {
            compose->InitComposer();
        }
        m_wizard.ShowPage(FrmMailMerge::Compose);
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
            finish->FinishTab->setTabText(0, u"Send File"_s);
            m_wizard.sendController()->PostalMergeRun(QString());
            finish->PicOpen->setVisible(true);
        }
    } else if (page->OptDocs[1]->isChecked()) {
        if (page->txtDocs->text().isEmpty()) {
            MessageBoxes::information(u"Please select a folder"_s);
            BrowseOutputTarget(1);
        } else {
            MakeFolder(TextUtil::trimSpaces(page->txtDocs->text()));
            finish->FinishTab->setTabText(0, u"Send Files"_s);
            m_wizard.sendController()->PostalMergeRun(TextUtil::trimSpaces(page->txtDocs->text()));
        }
    } else {
        MessageBoxes::information(u"Please select any option!"_s);
        page->OptDocs[0]->setFocus();
    }
}
