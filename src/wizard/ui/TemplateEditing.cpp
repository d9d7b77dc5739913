#include "TemplateEditing.h"

#include "FrmMailMerge.h"
#include "WizardPages.h"
#include "wordlink/WordStatus.h"

#include <QCheckBox>
#include <QLineEdit>

TemplateEditing::TemplateEditing(FrmMailMerge& wizard)
    : m_wizard(wizard)
{
}

TemplateEditing::~TemplateEditing() = default;

void TemplateEditing::EditInWord(const QString& path)
{
    wordlink::setWordRunning(true);
    if (!m_doc) {
        m_doc = std::make_unique<wordlink::Doc>(*this);
    }
    m_doc->Init();
    // A failure leaves the wizard on its page; a writer without a window system was reported.
    m_doc->AssignWd(path);
    wordlink::setWordRunning(false);
}

bool TemplateEditing::isWizardVisible() const
{
    return m_wizard.isVisible();
}

bool TemplateEditing::isMailMergeChecked() const
{
    return m_wizard.templatePage()->ChkMailMerge->isChecked();
}

bool TemplateEditing::isPostalMergeChecked() const
{
    return m_wizard.templatePage()->ChkPostalMerge->isChecked();
}

int TemplateEditing::sourceIndex() const
{
    return m_wizard.sourceIndex();
}

QString TemplateEditing::columnHeading(int column) const
{
    // The list's column n shows cell n - 1.
    return m_wizard.contactTable().heading(column - 1);
}

void TemplateEditing::setTemplateText(int index, const QString& path)
{
    m_wizard.templatePage()->txtTemplate[index]->setText(path);
}
