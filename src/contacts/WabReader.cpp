#include "WabReader.h"

#include "VCard.h"
#include "WabFile.h"
#include "core/PlainFile.h"
#include "core/TextUtil.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

using Values = QHash<QString, QString>;

// Joins the non-empty names with one space.
QString joinedName(const QStringList& parts)
{
    QStringList present;
    for (const QString& part : parts) {
        if (!part.isEmpty()) {
            present << part;
        }
    }
    return present.join(u' ');
}

Values fromWab(const WabFile::Record& record)
{
    Values values;
    const auto put = [&values, &record](const QString& name, quint16 id) {
        values.insert(name, record.first(id));
    };
    values.insert(u"homeemail"_s, record.first(0x3003).isEmpty() ? record.first(0x3A56) : record.first(0x3003));
    put(u"surname"_s, 0x3A11);
    put(u"middlename"_s, 0x3A44);
    const QString display = record.first(0x3001);
    values.insert(u"name"_s, display.isEmpty()
                                 ? joinedName({record.first(0x3A06), record.first(0x3A44), record.first(0x3A11)})
                                 : display);
    put(u"title"_s, 0x3A17);
    put(u"companyname"_s, 0x3A16);
    put(u"businessaddress"_s, 0x3A29);
    put(u"city"_s, 0x3A27);
    put(u"province"_s, 0x3A28);
    put(u"postal"_s, 0x3A2A);
    put(u"country"_s, 0x3A26);
    put(u"businessphone"_s, 0x3A08);
    put(u"businessfax"_s, 0x3A24);
    put(u"companyurl"_s, 0x3A51);
    return values;
}

Values fromVCard(const VCard& card)
{
    Values values;
    const VCardProperty* email = card.firstOfType(u"EMAIL"_s, u"HOME"_s);
    if (email == nullptr) {
        email = card.first(u"EMAIL"_s);
    }
    values.insert(u"homeemail"_s, email == nullptr ? QString() : email->text().trimmed());
    const VCardBusinessFields fields(card);
    values.insert(u"surname"_s, fields.family);
    values.insert(u"middlename"_s, fields.middle);
    values.insert(u"name"_s, fields.formatted.isEmpty() ? joinedName({fields.given, fields.middle, fields.family})
                                                        : fields.formatted);
    values.insert(u"title"_s, fields.title);
    values.insert(u"companyname"_s, fields.company);
    values.insert(u"businessaddress"_s, fields.street);
    values.insert(u"city"_s, fields.city);
    values.insert(u"province"_s, fields.region);
    values.insert(u"postal"_s, fields.postalCode);
    values.insert(u"country"_s, fields.country);
    values.insert(u"businessphone"_s, fields.phone);
    values.insert(u"businessfax"_s, fields.fax);
    values.insert(u"companyurl"_s, fields.url);
    return values;
}

} // namespace

Status WabReader::open(const QString& path)
{
    close();
    const Result<QByteArray> bytes = PlainFile::read(path);
    if (!bytes.ok()) {
        return bytes.error();
    }
    if (QFileInfo(path).suffix().compare(u"vcf"_s, Qt::CaseInsensitive) == 0) {
        Result<std::vector<VCard>> cards = VCardFile::parse(bytes.value(), path);
        if (!cards.ok()) {
            return cards.error();
        }
        m_records.reserve(cards->size());
        for (const VCard& card : cards.value()) {
            m_records.push_back(fromVCard(card));
        }
        return {};
    }
    Result<std::vector<WabFile::Record>> records = WabFile::parse(bytes.value(), path);
    if (!records.ok()) {
        return records.error();
    }
    m_records.reserve(records->size());
    for (const WabFile::Record& record : records.value()) {
        m_records.push_back(fromWab(record));
    }
    return {};
}

void WabReader::select(int index)
{
    m_current = index >= 0 && index < count() ? index : -1;
}

void WabReader::close()
{
    m_records.clear();
    m_current = -1;
}

QString WabReader::GetValue(const QString& property) const
{
    if (m_current < 0) {
        return {};
    }
    return m_records[static_cast<size_t>(m_current)].value(property.toLower());
}

namespace AddressBook {

QString WabFirstName(const WabReader& reader)
{
    QString name = reader.GetValue(u"Name"_s);
    for (const QString& part : {reader.GetValue(u"Surname"_s), reader.GetValue(u"MiddleName"_s)}) {
        if (!part.isEmpty()) {
            name.remove(part, Qt::CaseSensitive);
        }
    }
    return TextUtil::trimSpaces(name);
}

std::array<QString, MergeFieldTable::CellCount> rowCells(const WabReader& reader)
{
    std::array<QString, MergeFieldTable::CellCount> cells;
    cells[0] = reader.GetValue(u"HomeEmail"_s);
    cells[1] = WabFirstName(reader);
    const std::array<QString, 11> rest = {u"SurName"_s,       u"Title"_s,       u"CompanyName"_s, u"BusinessAddress"_s,
                                          u"City"_s,          u"Province"_s,    u"Postal"_s,      u"Country"_s,
                                          u"BusinessPhone"_s, u"BusinessFax"_s, u"CompanyUrl"_s};
    for (size_t k = 0; k < rest.size(); ++k) {
        cells[k + 2] = reader.GetValue(rest[k]);
    }
    return cells;
}

bool hasAddressBookExtension(const QString& path)
{
    const QString ending = path.right(3).toUpper();
    return ending == u"WAB"_s || ending == u"VCF"_s;
}

} // namespace AddressBook
