#pragma once

#include "core/Result.h"

#include <QObject>
#include <QStringList>

#include <memory>
#include <optional>

namespace wordlink {

class WriterSession;

// What the editing session asks of the wizard that owns it (the wizard sits above this library).
class DocOwner
{
public:
    virtual ~DocOwner() = default;
    virtual bool isWizardVisible() const = 0;
    virtual bool isMailMergeChecked() const = 0;
    virtual bool isPostalMergeChecked() const = 0;
    // The index of the chosen contact source: 0 address book, 1 mail client folder, 2 and up
    // the mapped sources.
    virtual int sourceIndex() const = 0;
    // The heading of the contact list's column 14, 15 or 16 as it stands now.
    virtual QString columnHeading(int column) const = 0;
    // The template box 0 (mail merge) or 1 (postal merge) takes a template's path.
    virtual void setTemplateText(int index, const QString& path) = 0;
};

// The writer window in which the user writes or changes a template. One session at a time: a
// visible writer of its own (with a profile of its own under the application folder that is
// kept between sessions), one document in it, and the "Quillbay+" menu of merge fields on that
// window's menu bar while the wizard is shown. When the user closes the document, its path goes
// back to the wizard if it was saved, unsaved changes are dropped without a question, and the
// writer ends.
class Doc : public QObject
{
    Q_OBJECT

public:
    explicit Doc(DocOwner& owner);
    ~Doc() override;

    // Starts a session on the document, or on a new one for an empty path. Fails when no
    // writer can be started or the document cannot be opened; a missing window system has
    // been reported to the user then.
    Status AssignWd(const QString& path);
    // Ends an earlier session as a close of its document does.
    void Init();
    // Decides the menu of the session: none while the wizard is hidden; else the thirteen
    // fixed entries, and the three custom ones for a mapped source.
    void AddMenu();

    // The session's writer, or null when no session is open.
    WriterSession* writer() const { return m_wrdAppCls.get(); }
    // The menu's captions as built, none when the session has no menu.
    std::optional<QStringList> menuCaptions() const { return m_menu; }

    // The token entry 1..16 types: the fixed ones, or a custom column's current heading.
    QString entryToken(int entry) const;

private:
    void takeEvent(const QJsonObject& message);
    void WrdAppCls_DocumentBeforeClose(bool saved);
    void closeNewDoc(bool dropChanges);
    void NewDoc_Close();
    void WrdAppCls_Quit();
    void MWdField_Click(int entry);
    void releaseMenu();

    DocOwner& m_owner;
    std::unique_ptr<WriterSession> m_wrdAppCls;
    bool m_newDoc = false;
    std::optional<QStringList> m_menu;
};

} // namespace wordlink
