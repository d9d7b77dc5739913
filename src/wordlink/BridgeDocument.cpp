#include "BridgeDocument.h"

#include "OfficeBridge.h"
#include "WordFind.h"

#include <QFileInfo>
#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

Status statusOf(const Result<QJsonObject>& answer)
{
    return answer.ok() ? Status() : Status(answer.error());
}

// The find as the office suite's regular expression and its letter-case switch.
QJsonObject findRequest(QJsonObject request, const QString& findText, const FindOptions& options)
{
    request.insert(u"regex"_s, WordFind::expression(findText, options).pattern());
    request.insert(u"caseSensitive"_s, options.matchWildcards || options.matchCase);
    return request;
}

} // namespace

BridgeDocument::BridgeDocument(QString key, QString fullName)
    : m_key(std::move(key))
    , m_generation(OfficeBridge::instance().generation())
    , m_fullName(std::move(fullName))
{
}

Result<QJsonObject> BridgeDocument::ask(const QJsonObject& request) const
{
    if (!OfficeBridge::instance().isServing(m_generation)) {
        return Error{ErrorCode::OfficeSuiteEnded, u"the office suite that held the document has ended"_s};
    }
    return OfficeBridge::instance().call(request);
}

BridgeDocument::~BridgeDocument()
{
    Close();
}

QJsonObject BridgeDocument::request(const char* op) const
{
    return QJsonObject{{u"op"_s, QString::fromLatin1(op)}, {u"doc"_s, m_key}};
}

Result<std::unique_ptr<Document>> BridgeDocument::open(const QString& path, bool readOnly)
{
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (!QFileInfo(absolute).isFile()) {
        return Error{ErrorCode::NoSuchDocument, u"no such document: "_s + path};
    }
    const Result<QJsonObject> answer =
        OfficeBridge::instance().call({{u"op"_s, u"open"_s}, {u"path"_s, absolute}, {u"readOnly"_s, readOnly}});
    if (!answer.ok()) {
        return answer.error();
    }
    return std::unique_ptr<Document>(new BridgeDocument(answer->value(u"doc"_s).toString(), absolute));
}

Result<std::unique_ptr<Document>> BridgeDocument::fromTemplate(const QString& templatePath)
{
    const Result<QJsonObject> answer = OfficeBridge::instance().call(
        {{u"op"_s, u"add"_s}, {u"template"_s, QFileInfo(templatePath).absoluteFilePath()}});
    if (!answer.ok()) {
        return answer.error();
    }
    auto document =
        std::unique_ptr<BridgeDocument>(new BridgeDocument(answer->value(u"doc"_s).toString(), u"Document1"_s));
    document->m_saved = false;
    return std::unique_ptr<Document>(std::move(document));
}

Status BridgeDocument::convert(const QString& from, const QString& to, OfficeBridge& bridge)
{
    return statusOf(bridge.call({{u"op"_s, u"convert"_s},
                                 {u"from"_s, QFileInfo(from).absoluteFilePath()},
                                 {u"to"_s, QFileInfo(to).absoluteFilePath()}}));
}

Result<QString> BridgeDocument::ContentText()
{
    const Result<QJsonObject> answer = ask(request("text"));
    if (!answer.ok()) {
        return answer.error();
    }
    return answer->value(u"text"_s).toString();
}

Result<bool> BridgeDocument::Find(const QString& findText, const FindOptions& options)
{
    const Result<QJsonObject> answer = ask(findRequest(request("find"), findText, options));
    if (!answer.ok()) {
        return answer.error();
    }
    return answer->value(u"found"_s).toBool();
}

Result<int> BridgeDocument::ReplaceAll(const QString& findText, const QString& replaceWith, const FindOptions& options)
{
    const Result<QJsonObject> found = ask(findRequest(request("hits"), findText, options));
    if (!found.ok()) {
        return found.error();
    }
    const QJsonArray hits = found->value(u"hits"_s).toArray();
    if (hits.isEmpty()) {
        return 0;
    }
    // Each hit's replacement is worked out here, with the groups of a wildcard find.
    const QRegularExpression whole(
        QRegularExpression::anchoredPattern(WordFind::expression(findText, options).pattern()),
        WordFind::expression(findText, options).patternOptions());
    QJsonArray replacements;
    for (const QJsonValue& hit : hits) {
        replacements.append(WordFind::replacement(replaceWith, whole.match(hit.toString()), options.matchWildcards));
    }
    QJsonObject replace = request("replaceHits");
    replace.insert(u"replacements"_s, replacements);
    const Result<QJsonObject> done = ask(replace);
    if (!done.ok()) {
        return done.error();
    }
    m_saved = false;
    return done->value(u"count"_s).toInt();
}

Status BridgeDocument::AppendPageBreakAndText(const QString& text)
{
    QJsonObject append = request("append");
    append.insert(u"text"_s, text);
    m_saved = false;
    return statusOf(ask(append));
}

Status BridgeDocument::Save()
{
    const Status saved = statusOf(ask(request("save")));
    if (saved.ok()) {
        m_saved = true;
    }
    return saved;
}

Status BridgeDocument::SaveAs(const QString& path)
{
    QJsonObject saveAs = request("saveAs");
    const QString absolute = QFileInfo(path).absoluteFilePath();
    saveAs.insert(u"path"_s, absolute);
    const Status saved = statusOf(ask(saveAs));
    if (saved.ok() && !absolute.endsWith(u".pdf"_s, Qt::CaseInsensitive)) {
        m_fullName = absolute;
        m_saved = true;
    }
    return saved;
}

void BridgeDocument::Close()
{
    if (!m_closed) {
        m_closed = true;
        ask(request("close"));
    }
}

} // namespace wordlink
