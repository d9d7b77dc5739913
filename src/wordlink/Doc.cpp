#include "Doc.h"

#include "LogExtension.h"
#include "UserOffice.h"
#include "WriterSession.h"
#include "core/AppPaths.h"
#include "core/MessageBoxes.h"

#include <QJsonArray>
#include <QStandardPaths>

#include <array>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

struct FieldEntry
{
    const char16_t* caption;
    const char16_t* token;
};

// The fixed entries of the menu, in its order.
constexpr std::array<FieldEntry, 13> FixedEntries{{
    {u"First Name", u"[[FirstName]]"},
    {u"Last Name", u"[[LastName]]"},
    {u"Job Title", u"[[Job-Title]]"},
    {u"Company Name", u"[[CompanyName]]"},
    {u"Address", u"[[Business-Street]]"},
    {u"City", u"[[Business-City]]"},
    {u"State", u"[[Business-State]]"},
    {u"Zip", u"[[Business-Zip]]"},
    {u"Country", u"[[Business-Country]]"},
    {u"Phone", u"[[Business-Phone]]"},
    {u"Fax", u"[[Business-Fax]]"},
    {u"WebPage", u"[[WebPage]]"},
    {u"Email Address", u"[[Email1Address]]"},
}};

constexpr int FirstCustomColumn = 14;
constexpr int CustomCount = 3;
constexpr int AddressBookSource = 0;
constexpr int MailClientSource = 1;

QJsonObject op(const QString& name)
{
    return {{u"op"_s, name}};
}

} // namespace

Doc::Doc(DocOwner& owner)
    : m_owner(owner)
{
}

Doc::~Doc() = default;

QString Doc::entryToken(int entry) const
{
    if (entry >= 1 && entry <= int(FixedEntries.size())) {
        return QString::fromUtf16(FixedEntries[entry - 1].token);
    }
    const int column = FirstCustomColumn + entry - int(FixedEntries.size()) - 1;
    if (column >= FirstCustomColumn && column < FirstCustomColumn + CustomCount) {
        return u"[["_s + m_owner.columnHeading(column) + u"]]"_s;
    }
    return {};
}

void Doc::Init()
{
    if (m_wrdAppCls) {
        NewDoc_Close();
    }
}

Status Doc::AssignWd(const QString& path)
{
    if (const OfficeLauncher& replacement = officeLauncher()) {
        // A launcher put in the office suite's place is shown the writer's command instead.
        return replacement(u"soffice"_s, writerArguments(path)) ? Status{}
                                                                : Status{Error{ErrorCode::NoWriter, u"not launched"_s}};
    }
    const QString problem = visibleWriterProblem(QStandardPaths::findExecutable(u"soffice"_s));
    if (!problem.isEmpty()) {
        MessageBoxes::information(problem);
        return Error{ErrorCode::NoWriter, problem};
    }
    // Once the user has a writer that shows, the user is asked once whether it should write
    // the document log too.
    offerLogExtension();
    m_wrdAppCls = std::make_unique<WriterSession>();
    connect(m_wrdAppCls.get(), &WriterSession::event, this, &Doc::takeEvent);
    const Status started = m_wrdAppCls->start(AppPaths::file(u"WriterProfile"_s), logExtensionPackage());
    if (!started.ok()) {
        m_wrdAppCls.reset();
        return started;
    }
    AddMenu();
    QJsonObject open = op(u"open"_s);
    open.insert(u"path"_s, path);
    if (m_menu) {
        open.insert(u"menu"_s, QJsonArray::fromStringList(*m_menu));
    }
    const Result<QJsonObject> opened = m_wrdAppCls->call(open);
    if (!opened.ok()) {
        // The writer without its document is of no use to the user: it ends.
        m_wrdAppCls->quit();
        m_wrdAppCls.reset();
        releaseMenu();
        return opened.error();
    }
    m_newDoc = true;
    return {};
}

void Doc::AddMenu()
{
    releaseMenu();
    // A popup left on the window's menu bar is taken off by its mark when the menu is set.
    if (!m_owner.isWizardVisible()) {
        return;
    }
    QStringList captions;
    for (const FieldEntry& entry : FixedEntries) {
        captions << QString::fromUtf16(entry.caption);
    }
    const int source = m_owner.sourceIndex();
    if (source != AddressBookSource && source != MailClientSource) {
        for (int k = 0; k < CustomCount; ++k) {
            captions << m_owner.columnHeading(FirstCustomColumn + k);
        }
    }
    m_menu = captions;
}

void Doc::releaseMenu()
{
    m_menu.reset();
}

void Doc::takeEvent(const QJsonObject& message)
{
    const QString name = message.value(u"event"_s).toString();
    if (name == u"click"_s) {
        MWdField_Click(message.value(u"entry"_s).toInt());
    } else if (name == u"beforeClose"_s) {
        WrdAppCls_DocumentBeforeClose(message.value(u"saved"_s).toBool());
    } else if (name == u"quit"_s && m_wrdAppCls) {
        WrdAppCls_Quit();
    }
}

void Doc::MWdField_Click(int entry)
{
    // The custom entries read their column's heading now, not as it stood when the menu was made.
    const QString token = entryToken(entry);
    if (m_wrdAppCls && m_newDoc && !token.isEmpty()) {
        QJsonObject type = op(u"type"_s);
        type.insert(u"text"_s, token);
        m_wrdAppCls->call(type);
    }
}

void Doc::WrdAppCls_DocumentBeforeClose(bool saved)
{
    // The writer holds the close until it is answered. Unsaved changes are dropped, so the
    // writer asks no question about them; a saved document closes as it is. Either way the
    // document's close follows.
    closeNewDoc(!saved && m_newDoc);
}

void Doc::closeNewDoc(bool dropChanges)
{
    if (!m_wrdAppCls || !m_newDoc) {
        return;
    }
    QJsonObject close = op(u"close"_s);
    close.insert(u"dropChanges"_s, dropChanges);
    m_wrdAppCls->call(close);
    NewDoc_Close();
}

void Doc::NewDoc_Close()
{
    // The helper tells the document's state as it was before a close dropped its changes.
    const Result<QJsonObject> state = m_wrdAppCls->call(op(u"state"_s));
    if (state.ok() && state.value().value(u"saved"_s).toBool()) {
        const QString fullName = state.value().value(u"fullName"_s).toString();
        // A document never saved has a window title for a name, with no folder in it.
        if (fullName.contains(u'/')) {
            if (m_owner.isMailMergeChecked()) {
                m_owner.setTemplateText(0, fullName);
            } else if (m_owner.isPostalMergeChecked()) {
                m_owner.setTemplateText(1, fullName);
            }
        }
    }
    m_newDoc = false;
    if (m_wrdAppCls) {
        WrdAppCls_Quit();
    }
}

void Doc::WrdAppCls_Quit()
{
    m_wrdAppCls->call(op(u"removeMenu"_s));
    releaseMenu();
    m_wrdAppCls->quit();
    // The helper is let go once the events in hand are through; none of them reaches a later
    // session.
    disconnect(m_wrdAppCls.get(), nullptr, this, nullptr);
    m_wrdAppCls.release()->deleteLater();
    m_newDoc = false;
}

} // namespace wordlink
