#include "NativeDocument.h"

#include "OoxmlText.h"
#include "WordFind.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <sstream>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

// Real documents nest tables in tables a few dozen levels at most; the walks over the text are
// recursive, so a part nested deeper is refused before any walk starts.
constexpr int MaxNesting = 1000;

// How deep the elements of a part go, counted without recursion.
int nestingDepth(const pugi::xml_node& root)
{
    int depth = 0;
    int deepest = 0;
    pugi::xml_node node = root.first_child();
    while (node) {
        deepest = qMax(deepest, depth);
        if (node.first_child()) {
            node = node.first_child();
            ++depth;
            continue;
        }
        while (node && !node.next_sibling()) {
            node = node.parent();
            --depth;
            if (node == root) {
                return deepest;
            }
        }
        node = node ? node.next_sibling() : node;
    }
    return deepest;
}

enum DocumentError
{
    Malformed = 20,
    ReadOnly,
    NoBody
};

// The content type of the main part for each extension of the family.
const char* const MainPartTypes[][2] = {
    {"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"},
    {"dotx", "application/vnd.openxmlformats-officedocument.wordprocessingml.template.main+xml"},
    {"docm", "application/vnd.ms-word.document.macroEnabled.main+xml"},
    {"dotm", "application/vnd.ms-word.template.macroEnabledTemplate.main+xml"},
};

} // namespace

NativeDocument::NativeDocument(OoxmlPackage package, Converter converter)
    : m_package(std::move(package))
    , m_convert(std::move(converter))
{
}

NativeDocument::~NativeDocument() = default;

Result<std::unique_ptr<Document>> NativeDocument::open(const QString& path, bool readOnly, Converter converter)
{
    Result<OoxmlPackage> package = OoxmlPackage::open(path);
    if (!package.ok()) {
        return package.error();
    }
    std::unique_ptr<NativeDocument> document(new NativeDocument(std::move(package).value(), std::move(converter)));
    document->m_fullName = QFileInfo(path).absoluteFilePath();
    document->m_readOnly = readOnly;
    if (const Status loaded = document->load(); !loaded.ok()) {
        return loaded.error();
    }
    return std::unique_ptr<Document>(std::move(document));
}

Result<std::unique_ptr<Document>> NativeDocument::fromTemplate(const QString& templatePath, Converter converter)
{
    Result<OoxmlPackage> package = OoxmlPackage::open(templatePath);
    if (!package.ok()) {
        return package.error();
    }
    std::unique_ptr<NativeDocument> document(new NativeDocument(std::move(package).value(), std::move(converter)));
    document->m_fullName = u"Document1"_s;
    if (const Status loaded = document->load(); !loaded.ok()) {
        return loaded.error();
    }
    // Documents.Add: a template gives a document of its family.
    const QString suffix = QFileInfo(templatePath).suffix().toLower();
    document->setMainContentType(suffix == u"dotm"_s || suffix == u"docm"_s ? u"docm"_s : u"docx"_s);
    document->m_saved = false;
    return std::unique_ptr<Document>(std::move(document));
}

Status NativeDocument::load()
{
    m_mainPart = m_package.mainPartName();
    const Result<QByteArray> xml = m_package.part(m_mainPart);
    if (!xml.ok()) {
        return xml.error();
    }
    const pugi::xml_parse_result parsed = m_xml.load_buffer(
        xml->constData(), static_cast<size_t>(xml->size()),
        // Comments, processing instructions and the whitespace between elements are kept, so that
        // a saved part differs from the original only where the text was changed.
        pugi::parse_default | pugi::parse_declaration | pugi::parse_ws_pcdata | pugi::parse_comments | pugi::parse_pi,
        pugi::encoding_utf8);
    if (!parsed) {
        return Error{Malformed,
                     u"the document's text is not well-formed XML: "_s + QString::fromUtf8(parsed.description())};
    }
    if (!body()) {
        return Error{NoBody, u"the document has no body"_s};
    }
    if (nestingDepth(m_xml) > MaxNesting) {
        return Error{Malformed, u"the document's text is nested deeper than any document is"_s};
    }
    return {};
}

pugi::xml_node NativeDocument::body()
{
    return m_xml.child("w:document").child("w:body");
}

void NativeDocument::setMainContentType(const QString& suffix)
{
    // Word opens a file only when its main part's type matches its extension.
    const Result<QByteArray> types = m_package.part(u"[Content_Types].xml"_s);
    if (!types.ok()) {
        return;
    }
    const char* wanted = MainPartTypes[0][1];
    for (const auto& [extension, type] : MainPartTypes) {
        if (suffix == QLatin1StringView(extension)) {
            wanted = type;
        }
    }
    QByteArray changed = types.value();
    for (const auto& [extension, type] : MainPartTypes) {
        changed.replace(QByteArray("\"") + type + '"', QByteArray("\"") + wanted + '"');
    }
    if (changed != types.value()) {
        m_package.setPart(u"[Content_Types].xml"_s, changed);
    }
}

Result<QString> NativeDocument::ContentText()
{
    if (!m_text) {
        m_text = std::make_unique<OoxmlText>(body());
    }
    return m_text->text();
}

Result<bool> NativeDocument::Find(const QString& findText, const FindOptions& options)
{
    const QRegularExpression expression = WordFind::expression(findText, options);
    if (!expression.isValid()) {
        return Error{Malformed, u"the wildcard text is not valid"_s};
    }
    const Result<QString> text = ContentText();
    return expression.match(text.value()).hasMatch();
}

Result<int> NativeDocument::ReplaceAll(const QString& findText, const QString& replaceWith, const FindOptions& options)
{
    const QRegularExpression expression = WordFind::expression(findText, options);
    if (!expression.isValid()) {
        return Error{Malformed, u"the wildcard text is not valid"_s};
    }
    const QString text = ContentText().value();
    std::vector<OoxmlText::Edit> edits;
    for (QRegularExpressionMatchIterator it = expression.globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch hit = it.next();
        if (hit.capturedLength() > 0) {
            edits.push_back({hit.capturedStart(), hit.capturedEnd(),
                             WordFind::replacement(replaceWith, hit, options.matchWildcards)});
        }
    }
    const int replaced = m_text->replace(edits);
    if (replaced > 0) {
        m_text.reset();
        m_xmlChanged = true;
        m_saved = false;
    }
    return replaced;
}

Status NativeDocument::AppendPageBreakAndText(const QString& text)
{
    pugi::xml_node documentBody = body();
    // Looked up once: a combined document takes thousands of letters, and the section's
    // properties stand behind all of them.
    if (!m_sectionProperties) {
        m_sectionProperties = documentBody.child("w:sectPr");
    }
    const pugi::xml_node sectionProperties = *m_sectionProperties;
    QString plain = text;
    plain.remove(u'\a');
    if (plain.endsWith(u'\r')) {
        plain.chop(1);
    }
    // The page break opens the first new paragraph, so the appended text starts at the top of
    // the next page; each CR of the text begins another paragraph.
    bool first = true;
    for (const QString& line : plain.split(u'\r')) {
        pugi::xml_node paragraph = sectionProperties ? documentBody.insert_child_before("w:p", sectionProperties)
                                                     : documentBody.append_child("w:p");
        pugi::xml_node run = paragraph.append_child("w:r");
        if (first) {
            run.append_child("w:br").append_attribute("w:type").set_value("page");
            first = false;
        }
        OoxmlText::setRunContent(run.append_child("w:t"), line);
    }
    m_text.reset();
    m_xmlChanged = true;
    m_saved = false;
    return {};
}

Status NativeDocument::store(const QString& path)
{
    if (m_xmlChanged) {
        std::ostringstream out;
        m_xml.save(out, "", pugi::format_raw, pugi::encoding_utf8);
        const std::string xml = out.str();
        m_package.setPart(m_mainPart, QByteArray(xml.data(), static_cast<qsizetype>(xml.size())));
        m_xmlChanged = false;
    }
    return m_package.saveTo(path);
}

Status NativeDocument::Save()
{
    if (m_readOnly) {
        return Error{ReadOnly, u"the document was opened read-only"_s};
    }
    if (!QFileInfo(m_fullName).isAbsolute()) {
        return Error{ReadOnly, u"a new document needs a name: save it as"_s};
    }
    const Status stored = SaveAs(m_fullName);
    return stored;
}

Status NativeDocument::SaveAs(const QString& path)
{
    const QString absolute = QFileInfo(path).absoluteFilePath();
    Status stored;
    if (isNativeFormat(absolute)) {
        setMainContentType(QFileInfo(absolute).suffix().toLower());
        stored = store(absolute);
    } else {
        // Another format: the office suite converts a saved copy.
        QTemporaryDir scratch;
        const QString copy = scratch.filePath(QFileInfo(absolute).completeBaseName() + u".docx"_s);
        setMainContentType(u"docx"_s);
        stored = store(copy);
        if (stored.ok()) {
            stored = m_convert ? m_convert(copy, absolute) : Status(Error{ReadOnly, u"no converter"_s});
        }
    }
    if (stored.ok()) {
        m_fullName = absolute;
        m_readOnly = false;
        m_saved = true;
    }
    return stored;
}

} // namespace wordlink
