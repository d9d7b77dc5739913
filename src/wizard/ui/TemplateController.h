#pragma once

#include <QObject>
#include <QString>

#include <array>

class FrmMailMerge;
class TemplatePage;

// The template page of the merge wizard (page 2): an e-mail merge, with or without a Word
// attachment, or a postal merge into Word documents; the templates, the documents to make and
// the way on (Next) from this page.
class TemplateController : public QObject
{
    Q_OBJECT

public:
    explicit TemplateController(FrmMailMerge& wizard);

    // Next on the template page with an attachment or a postal merge: checks the choices, then
    // shows the composer or runs the postal merge.
    void LeaveTemplatePage();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void connectTemplatePage();
    void ChkMailMerge_Click();
    void ChkPostalMerge_Click();
    // The two boxes of the merge kind exclude each other: a mail merge (with its attachment
    // controls) or a postal merge (with its document controls).
    void chooseMergeKind(bool mail);
    void ChkAttachment_Click();
    void EnableAttachmentControls();
    void DisableAttachmentControls();
    void EnablePostalControls();
    void DisablePostalControls();
    void CmdBrowseTemplate_Click(int index);
    void txtTemplate_Change(int index);
    void OptDocs_Click(int option);
    void cmdBrowseDoc_Click();
    void BrowseOutputTarget(int option);
    void lblLink_Click();

    FrmMailMerge& m_wizard;
    TemplatePage* m_template;
    // The document name and the folder last chosen for the two kinds of output; a click on an
    // option shows its own in the box.
    std::array<QString, 2> m_outputTargets;
};
