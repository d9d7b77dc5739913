#pragma once

#include "wordlink/Doc.h"

#include <memory>

class FrmMailMerge;

// The wizard's side of the template editing session: the steps of EditInWord around the
// session, and what the session reads from the wizard (whether it is shown, which merge is
// checked, the contact source, the custom columns' headings) and gives back (a template's path).
class TemplateEditing : public wordlink::DocOwner
{
public:
    explicit TemplateEditing(FrmMailMerge& wizard);
    ~TemplateEditing() override;

    // Opens the template (a new one for an empty path) in the session's writer; an earlier
    // session ends first. "Running" reads "Y" up to the writer's start and "N" while the user
    // works in it.
    void EditInWord(const QString& path);

    // The session, once one was asked for.
    wordlink::Doc* doc() const { return m_doc.get(); }

    bool isWizardVisible() const override;
    bool isMailMergeChecked() const override;
    bool isPostalMergeChecked() const override;
    int sourceIndex() const override;
    QString columnHeading(int column) const override;
    void setTemplateText(int index, const QString& path) override;

private:
    FrmMailMerge& m_wizard;
    std::unique_ptr<wordlink::Doc> m_doc;
};
