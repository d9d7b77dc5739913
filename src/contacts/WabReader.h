#pragma once

#include "MergeFieldTable.h"
#include "core/Result.h"

#include <QHash>
#include <QString>

#include <array>
#include <vector>

// The address book of source 0: a Windows Address Book (.wab) or a vCard file (.vcf), read whole
// by open and handed out one record at a time. Each record answers GetValue by the property
// names of the address book, compared without regard to case ("SurName" and "Surname" are one):
//
//   HomeEmail        .wab 0x3003, else the first of the list 0x3A56   .vcf EMAIL of TYPE=HOME, else the first EMAIL
//   Name             0x3001, else given, middle and surname            FN, else N's given, middle and family names
//   Surname          0x3A11                                            N's family name
//   MiddleName       0x3A44                                            N's additional names
//   Title            0x3A17                                            TITLE
//   CompanyName      0x3A16                                            ORG's first part
//   BusinessAddress  0x3A29   City 0x3A27   Province 0x3A28            ADR of TYPE=WORK (else one without a type):
//   Postal           0x3A2A   Country 0x3A26                           street, locality, region, code, country
//   BusinessPhone    0x3A08                                            TEL of TYPE=WORK that is no FAX
//   BusinessFax      0x3A24                                            TEL of TYPE=WORK and FAX (else any FAX)
//   CompanyUrl       0x3A51                                            URL of TYPE=WORK, else the first URL
//
// A property the record lacks gives "". The kind is told by the file's extension: .vcf is a
// vCard file, anything else a .wab file. There is no limit on the number of records.
class WabReader
{
public:
    // Reads the file; an error value says why it cannot be read, naming the file.
    Status open(const QString& path);
    int count() const { return static_cast<int>(m_records.size()); }
    // Makes record `index` (from 0) the current one; an index out of range selects none.
    void select(int index);
    void close();
    QString GetValue(const QString& property) const;

private:
    std::vector<QHash<QString, QString>> m_records;
    int m_current = -1;
};

namespace AddressBook {

// The first name of the current record: "Name" with every occurrence of "Surname" and then of
// "MiddleName" deleted (exact, case-sensitive), trimmed of spaces: "Ann B. Lee" with surname
// "Lee" and middle name "B." gives "Ann".
QString WabFirstName(const WabReader& reader);

// The sixteen cells of the current record: cell 0 "HomeEmail", then first name, "SurName",
// "Title", "CompanyName", the business address, phone, fax and "CompanyUrl"; no custom cells.
std::array<QString, MergeFieldTable::CellCount> rowCells(const WabReader& reader);

// True for a path the address book source accepts: its last three characters, in upper case,
// are "WAB" or "VCF".
bool hasAddressBookExtension(const QString& path);

} // namespace AddressBook
