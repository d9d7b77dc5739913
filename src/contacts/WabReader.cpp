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

// The first property of the name with the type, else the first without any type at all.
const VCardProperty* typedOrPlain(const VCard& card, const QString& name, const QString& type)
{
    if (const VCardProperty* typed = card.firstOfType(name, type)) {
        return typed;
    }
    for (const VCardProperty& property : card.properties) {
        if (property.name == name && property.types.isEmpty()) {
            return &property;
        }
    }
    return nullptr;
}

Values fromVCard(const VCard& card)
{
    Values values;
    const VCardProperty* email = card.firstOfType(u"EMAIL"_s, u"HOME"_s);
    if (email == nullptr) {
        email = card.first(u"EMAIL"_s);
    }
    values.insert(u"homeemail"_s, email == nullptr ? QString() : email->text().trimmed());
    const VCardProperty* n = card.first(u"N"_s);
    const QStringList names = n == nullptr ? QStringList() : n->components();
    values.insert(u"surname"_s, names.value(0));
    values.insert(u"middlename"_s, names.value(2));
    const QString formatted = card.text(u"FN"_s);
    values.insert(u"name"_s,
                  formatted.isEmpty() ? joinedName({names.value(1), names.value(2), names.value(0)}) : formatted);
    values.insert(u"title"_s, card.text(u"TITLE"_s));
    values.insert(u"companyname"_s, card.component(u"ORG"_s, 0));
    if (const VCardProperty* address = typedOrPlain(card, u"ADR"_s, u"WORK"_s)) {
        const QStringList parts = address->components();
        values.insert(u"businessaddress"_s, parts.value(2));
        values.insert(u"city"_s, parts.value(3));
        values.insert(u"province"_s, parts.value(4));
        values.insert(u"postal"_s, parts.value(5));
        values.insert(u"country"_s, parts.value(6));
    }
    const VCardProperty* phone = nullptr;
    const VCardProperty* workFax = nullptr;
    const VCardProperty* anyFax = nullptr;
    for (const VCardProperty& tel : card.properties) {
        if (tel.name != u"TEL"_s) {
            continue;
        }
        const bool work = tel.hasType(u"WORK"_s);
        if (!tel.hasType(u"FAX"_s)) {
            phone = phone == nullptr && work ? &tel : phone;
            continue;
        }
        workFax = workFax == nullptr && work ? &tel : workFax;
        anyFax = anyFax == nullptr ? &tel : anyFax;
    }
    const VCardProperty* fax = workFax != nullptr ? workFax : anyFax;
    values.insert(u"businessphone"_s, phone == nullptr ? QString() : phone->text());
    values.insert(u"businessfax"_s, fax == nullptr ? QString() : fax->text());
    const VCardProperty* url = card.firstOfType(u"URL"_s, u"WORK"_s);
    if (url == nullptr) {
        url = card.first(u"URL"_s);
    }
    values.insert(u"companyurl"_s, url == nullptr ? QString() : url->text());
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
