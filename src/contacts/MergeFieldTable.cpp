#include "MergeFieldTable.h"

using namespace Qt::StringLiterals;

namespace MergeFieldTable {

const std::array<MergeField, StandardCount>& standardFields()
{
    static const std::array<MergeField, StandardCount> fields = {{
        {0, u"First Name", 1, u"First Name", u"[[FirstName]]", u"MnuFirstName", u"First Name"},
        {1, u"Last Name", 2, u"Last Name", u"[[LastName]]", u"MnuLastName", u"Last Name"},
        {2, u"Job Title", 3, u"Job Title", u"[[Job-Title]]", u"MnuJobTitle", u"JobTitle"},
        {3, u"Company Name", 4, u"Company Name", u"[[CompanyName]]", u"MnuCompany", u"Company Name"},
        {4, u"Address", 5, u"Address", u"[[Business-Street]]", u"MnuBusStr", u"Business Street"},
        {5, u"City", 6, u"City", u"[[Business-City]]", u"MnuBusCty", u"Business City"},
        {6, u"State", 7, u"State", u"[[Business-State]]", u"MnuBusState", u"Business State"},
        {7, u"Zip", 8, u"Zip", u"[[Business-Zip]]", u"MnuBusZip", u"Business Zip"},
        {8, u"Country", 9, u"Country", u"[[Business-Country]]", u"MnuBusCtry", u"Business Country"},
        {9, u"Phone", 10, u"Phone", u"[[Business-Phone]]", u"MnuBusPh", u"Business Phone"},
        {10, u"Fax", 11, u"Fax", u"[[Business-Fax]]", u"MnuBusFax", u"Business Fax"},
        {11, u"Web Page", 12, u"WebPage", u"[[WebPage]]", u"MnuWebPage", u"WebPage"},
        {12, u"E-mail Address", 0, u"Email Address", u"[[Email1Address]]", u"MnuEmail1Address", u"Email Address"},
    }};
    return fields;
}

namespace {

const MergeField& fieldOfCell(int cell)
{
    return standardFields()[cell == 0 ? EmailMapIndex : cell - 1];
}

} // namespace

QString standardHeading(int cell)
{
    return QString::fromUtf16(fieldOfCell(cell).heading);
}

QString standardToken(int cell)
{
    return QString::fromUtf16(fieldOfCell(cell).token);
}

QString defaultCustomHeading(int cell)
{
    return u"CustomField(%1)"_s.arg(cell - FirstCustomCell + 1);
}

QString defaultCustomName(int k)
{
    return u"Custom Field %1"_s.arg(k + 1);
}

QString customToken(const QString& heading)
{
    return u"[["_s + heading + u"]]"_s;
}

} // namespace MergeFieldTable
