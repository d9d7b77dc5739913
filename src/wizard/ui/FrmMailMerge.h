#pragma once

#include "WizardChanges.h"
#include "contacts/ContactSelection.h"
#include "contacts/ContactTable.h"
#include "contacts/FieldMap.h"
#include "merge/TokenEngine.h"

#include <QWidget>

#include <memory>
#include <optional>

class ComposePage;
class ContactsController;
class ContactsPage;
class FieldMapPage;
class FinishPage;
class ProgressPanel;
class QLabel;
class QPushButton;
class QStackedWidget;
class SendController;
class SendPage;
class SourceController;
class SourcePage;
class TemplateController;
class TemplateEditing;
class TemplatePage;

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
    const FieldMap& fieldMap() const;
    int sourceIndex() const;
    bool mapImported() const;
    std::optional<QString> openedSource() const;
    // True from the window's loading until its first show has ended: a remembered database
    // that does not open then says nothing.
    bool firstShown() const { return m_firstShown; }

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
    // The controllers of the pages: source and field map, contacts, template, sending.
    SourceController* sourceController() const { return m_sourceController; }
    ContactsController* contactsController() const { return m_contactsController; }
    TemplateController* templateController() const { return m_templateController; }
    SendController* sendController() const { return m_sendController; }

    void CmdNext_Click();
    void CmdBack_Click();
    void cmdCancel_Click();
    void ShowPage(int page);
    void UpdateSelectedCount();

    // What a later step must redo.
    WizardChanges& changes() { return m_changes; }

    // The value a control keeps beside its text (a folder's identifier, the name last opened).
    static QString Tag(const QObject* control);
    static void setTag(QObject* control, const QString& tag);

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    explicit FrmMailMerge(QWidget* parent = nullptr);
    QWidget* buildButtonBar();

    void Form_Load();
    void Form_Activate();
    void Form_Unload();
    void LoadWizardMemory();
    void SaveWizardMemory();

    // The template page's buttons that open a template in the office suite's writer.
    void CmdEdit_Click(int index);
    void CmdNewTemplate_Click(int index);
    void EditInWord(const QString& path);

    ContactTable m_table;
    ContactSelection m_selection;
    TokenEngine m_tokens;
    int m_currentPage = -1;
    bool m_firstShown = true;

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
    ContactsController* m_contactsController;
    SourceController* m_sourceController;
    TemplateController* m_templateController;
    SendController* m_sendController;
    std::unique_ptr<TemplateEditing> m_templateEditing;
    WizardChanges m_changes;
};
