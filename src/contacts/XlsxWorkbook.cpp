#include "XlsxWorkbook.h"

#include "ExcelCellText.h"
#include "wordlink/OoxmlPackage.h"

#include <QHash>

#include <charconv>
#include <cstring>
#include <pugixml.hpp>

using namespace Qt::StringLiterals;

namespace {

constexpr unsigned ParseOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;

// An element's name without its namespace prefix: "x:sheet" #=> "sheet".
const char* localName(const pugi::xml_node& node)
{
    const char* name = node.name();
    const char* colon = std::strrchr(name, ':');
    return colon != nullptr ? colon + 1 : name;
}

bool named(const pugi::xml_node& node, const char* wanted)
{
    return std::strcmp(localName(node), wanted) == 0;
}

pugi::xml_node child(const pugi::xml_node& parent, const char* wanted)
{
    for (pugi::xml_node node = parent.first_child(); node; node = node.next_sibling()) {
        if (node.type() == pugi::node_element && named(node, wanted)) {
            return node;
        }
    }
    return {};
}

// The relationship id of a sheet entry, whatever prefix the relationships namespace has.
const char* relationshipId(const pugi::xml_node& node)
{
    for (pugi::xml_attribute attribute = node.first_attribute(); attribute; attribute = attribute.next_attribute()) {
        const char* colon = std::strrchr(attribute.name(), ':');
        if (colon != nullptr && std::strcmp(colon + 1, "id") == 0) {
            return attribute.value();
        }
    }
    return "";
}

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

// A part named by a relationship's target, seen from the part that holds the relationship.
QString resolvePart(const QString& fromPart, const QString& target)
{
    QStringList segments;
    if (!target.startsWith(u'/')) {
        segments = fromPart.split(u'/');
        segments.removeLast();
    }
    for (const QString& segment : target.split(u'/', Qt::SkipEmptyParts)) {
        if (segment == u".."_s) {
            if (!segments.isEmpty()) {
                segments.removeLast();
            }
        } else if (segment != u"."_s) {
            segments << segment;
        }
    }
    return segments.join(u'/');
}

QString relationshipsOf(const QString& part)
{
    const qsizetype slash = part.lastIndexOf(u'/');
    return part.left(slash + 1) + u"_rels/"_s + part.mid(slash + 1) + u".rels"_s;
}

struct Relationship
{
    QString type;
    QString part;
};

struct Document
{
    QByteArray bytes;
    pugi::xml_document xml;
};

// Reads and parses a part; false when it is missing or not well-formed.
bool load(const wordlink::OoxmlPackage& package, const QString& name, Document& document)
{
    Result<QByteArray> bytes = package.part(name);
    if (!bytes.ok()) {
        return false;
    }
    document.bytes = std::move(bytes).value();
    return static_cast<bool>(document.xml.load_buffer_inplace(
        document.bytes.data(), static_cast<size_t>(document.bytes.size()), ParseOptions, pugi::encoding_utf8));
}

QHash<QString, Relationship> relationships(const wordlink::OoxmlPackage& package, const QString& part)
{
    QHash<QString, Relationship> found;
    Document rels;
    if (!load(package, relationshipsOf(part), rels)) {
        return found;
    }
    const pugi::xml_node root = child(rels.xml, "Relationships");
    for (pugi::xml_node node = root.first_child(); node; node = node.next_sibling()) {
        if (node.type() == pugi::node_element && named(node, "Relationship") &&
            std::strcmp(node.attribute("TargetMode").value(), "External") != 0) {
            found.insert(
                text(node.attribute("Id").value()),
                {text(node.attribute("Type").value()), resolvePart(part, text(node.attribute("Target").value()))});
        }
    }
    return found;
}

// The text of a shared or inline string: its <t> and the <t> of its rich runs, phonetic runs
// (<rPh>) left out.
QString stringItemText(const pugi::xml_node& item)
{
    QString joined;
    for (pugi::xml_node node = item.first_child(); node; node = node.next_sibling()) {
        if (node.type() != pugi::node_element) {
            continue;
        }
        if (named(node, "t")) {
            joined += text(node.child_value());
        } else if (named(node, "r")) {
            joined += text(child(node, "t").child_value());
        }
    }
    return XlsxText::decodeEscapes(joined);
}

bool parseDouble(const char* value, double& number)
{
    const char* end = value + std::strlen(value);
    while (value < end && *value == ' ') {
        ++value;
    }
    if (value < end && *value == '+') {
        ++value;
    }
    const auto [stop, error] = std::from_chars(value, end, number);
    return error == std::errc() && stop == end && value != end;
}

int parseInt(const char* value, int fallback)
{
    int number = 0;
    const char* end = value + std::strlen(value);
    const auto [stop, error] = std::from_chars(value, end, number);
    return error == std::errc() && stop == end && value != end ? number : fallback;
}

} // namespace

namespace XlsxText {

QString decodeEscapes(const QString& text)
{
    if (!text.contains(u"_x"_s)) {
        return text;
    }
    QString decoded;
    decoded.reserve(text.size());
    qsizetype i = 0;
    while (i < text.size()) {
        if (text.at(i) == u'_' && i + 6 < text.size() && text.at(i + 1) == u'x' && text.at(i + 6) == u'_') {
            bool ok = false;
            const uint code = QStringView(text).sliced(i + 2, 4).toUInt(&ok, 16);
            if (ok) {
                decoded += QChar(char16_t(code));
                i += 7;
                continue;
            }
        }
        decoded += text.at(i);
        ++i;
    }
    return decoded;
}

bool parseReference(const char* reference, int& row, int& column)
{
    const char* p = reference;
    int letters = 0;
    long long col = 0;
    while (*p == '$') {
        ++p;
    }
    for (; (*p >= 'A' && *p <= 'Z') || (*p >= 'a' && *p <= 'z'); ++p) {
        if (++letters > 3) {
            return false;
        }
        col = col * 26 + ((*p | 0x20) - 'a' + 1);
    }
    while (*p == '$') {
        ++p;
    }
    long long r = 0;
    int digits = 0;
    for (; *p >= '0' && *p <= '9'; ++p) {
        if (++digits > 7) {
            return false;
        }
        r = r * 10 + (*p - '0');
    }
    if (*p != '\0' || letters == 0 || digits == 0 || col > Worksheet::MaxColumns || r < 1 || r > Worksheet::MaxRows) {
        return false;
    }
    row = int(r);
    column = int(col);
    return true;
}

} // namespace XlsxText

XlsxWorkbook::XlsxWorkbook() = default;
XlsxWorkbook::~XlsxWorkbook() = default;

Result<std::unique_ptr<Workbook>> XlsxWorkbook::open(const QString& path)
{
    Result<wordlink::OoxmlPackage> package = wordlink::OoxmlPackage::open(path);
    if (!package.ok()) {
        return Error{NotAWorkbook, u"%1 is not an Excel workbook"_s.arg(path)};
    }
    std::unique_ptr<XlsxWorkbook> book(new XlsxWorkbook);
    book->m_package = std::make_unique<wordlink::OoxmlPackage>(std::move(package).value());
    const wordlink::OoxmlPackage& zip = *book->m_package;

    QString workbookPart = u"xl/workbook.xml"_s;
    for (const Relationship& relationship : relationships(zip, QString())) {
        if (relationship.type.endsWith(u"/officeDocument"_s)) {
            workbookPart = relationship.part;
        }
    }
    Document workbook;
    if (!load(zip, workbookPart, workbook)) {
        return Error{NotAWorkbook, u"%1 holds no workbook"_s.arg(path)};
    }
    const pugi::xml_node root = child(workbook.xml, "workbook");
    const char* date1904 = child(root, "workbookPr").attribute("date1904").value();
    book->m_date1904 = std::strcmp(date1904, "1") == 0 || std::strcmp(date1904, "true") == 0;

    const QHash<QString, Relationship> parts = relationships(zip, workbookPart);
    const pugi::xml_node sheets = child(root, "sheets");
    for (pugi::xml_node node = sheets.first_child(); node; node = node.next_sibling()) {
        if (node.type() != pugi::node_element || !named(node, "sheet")) {
            continue;
        }
        const Relationship target = parts.value(text(relationshipId(node)));
        if (!target.type.endsWith(u"/worksheet"_s)) {
            continue; // a chart sheet or a dialog sheet
        }
        book->m_names << text(node.attribute("name").value());
        book->m_sheetParts << target.part;
    }

    for (const Relationship& relationship : parts) {
        if (relationship.type.endsWith(u"/sharedStrings"_s)) {
            Document strings;
            if (!load(zip, relationship.part, strings)) {
                return Error{Corrupt, u"the shared strings of %1 cannot be read"_s.arg(path)};
            }
            const pugi::xml_node sst = child(strings.xml, "sst");
            for (pugi::xml_node item = sst.first_child(); item; item = item.next_sibling()) {
                if (item.type() == pugi::node_element && named(item, "si")) {
                    book->m_sharedStrings << stringItemText(item);
                }
            }
        } else if (relationship.type.endsWith(u"/styles"_s)) {
            Document styles;
            if (!load(zip, relationship.part, styles)) {
                continue; // without styles every number shows as a number
            }
            const pugi::xml_node styleSheet = child(styles.xml, "styleSheet");
            QHash<int, QString> customFormats;
            const pugi::xml_node numFmts = child(styleSheet, "numFmts");
            for (pugi::xml_node format = numFmts.first_child(); format; format = format.next_sibling()) {
                if (format.type() == pugi::node_element && named(format, "numFmt")) {
                    customFormats.insert(parseInt(format.attribute("numFmtId").value(), -1),
                                         text(format.attribute("formatCode").value()));
                }
            }
            int index = 0;
            const pugi::xml_node cellXfs = child(styleSheet, "cellXfs");
            for (pugi::xml_node xf = cellXfs.first_child(); xf; xf = xf.next_sibling()) {
                if (xf.type() != pugi::node_element || !named(xf, "xf")) {
                    continue;
                }
                const int id = parseInt(xf.attribute("numFmtId").value(), 0);
                QString code = customFormats.value(id);
                if (code.isEmpty()) {
                    code = ExcelCellText::builtInDateFormat(id);
                }
                if (!code.isEmpty() && ExcelCellText::isDateFormat(code)) {
                    book->m_dateStyles.insert(index, code);
                }
                ++index;
            }
        }
    }
    return std::unique_ptr<Workbook>(std::move(book));
}

Result<Worksheet> XlsxWorkbook::sheet(int number) const
{
    if (number < 1 || number > m_sheetParts.size()) {
        return Error{NoSuchSheet, u"the workbook has no sheet %1"_s.arg(number)};
    }
    Document part;
    if (!load(*m_package, m_sheetParts.at(number - 1), part)) {
        return Error{Corrupt, u"the sheet %1 cannot be read"_s.arg(m_names.at(number - 1))};
    }
    const auto corrupt = [this, number](const char* what) {
        return Error{Corrupt, u"the sheet %1 %2"_s.arg(m_names.at(number - 1), QLatin1StringView(what))};
    };
    Worksheet sheet;
    const pugi::xml_node data = child(child(part.xml, "worksheet"), "sheetData");
    int rowNumber = 0;
    for (pugi::xml_node row = data.first_child(); row; row = row.next_sibling()) {
        if (row.type() != pugi::node_element || !named(row, "row")) {
            continue;
        }
        rowNumber = parseInt(row.attribute("r").value(), rowNumber + 1);
        int column = 0;
        for (pugi::xml_node cell = row.first_child(); cell; cell = cell.next_sibling()) {
            if (cell.type() != pugi::node_element || !named(cell, "c")) {
                continue;
            }
            int cellRow = rowNumber;
            const pugi::xml_attribute reference = cell.attribute("r");
            if (!reference) {
                ++column;
            } else if (!XlsxText::parseReference(reference.value(), cellRow, column)) {
                return corrupt("holds a cell reference beyond the sheet's limits");
            }
            const char* type = cell.attribute("t").value();
            const char* value = child(cell, "v").child_value();
            const auto dateFormat = m_dateStyles.constFind(parseInt(cell.attribute("s").value(), 0));
            QString shown;
            if (std::strcmp(type, "s") == 0) {
                const int index = parseInt(value, -1);
                if (index < 0 || index >= m_sharedStrings.size()) {
                    return corrupt("refers to a shared string that is not there");
                }
                shown = m_sharedStrings.at(index);
            } else if (std::strcmp(type, "inlineStr") == 0) {
                shown = stringItemText(child(cell, "is"));
            } else if (std::strcmp(type, "str") == 0) {
                shown = XlsxText::decodeEscapes(text(value));
            } else if (std::strcmp(type, "b") == 0) {
                shown = *value == '\0' ? QString() : std::strcmp(value, "0") == 0 ? u"False"_s : u"True"_s;
            } else if (std::strcmp(type, "e") == 0) {
                shown = text(value);
            } else if (std::strcmp(type, "d") == 0) {
                double serial = 0.0;
                if (ExcelCellText::serialOfIsoText(text(value), m_date1904, serial)) {
                    shown = ExcelCellText::formatDate(
                        serial,
                        dateFormat != m_dateStyles.constEnd() ? *dateFormat : ExcelCellText::builtInDateFormat(22),
                        m_date1904);
                }
            } else if (*value != '\0') {
                double figure = 0.0;
                if (!parseDouble(value, figure)) {
                    return corrupt("holds a number that is none");
                }
                shown = dateFormat != m_dateStyles.constEnd()
                            ? ExcelCellText::formatDate(figure, *dateFormat, m_date1904)
                            : ExcelCellText::generalNumber(figure);
            }
            if (!sheet.setCell(cellRow, column, std::move(shown))) {
                return corrupt("reaches beyond the sheet's limits");
            }
        }
    }
    sheet.finish();
    return sheet;
}
