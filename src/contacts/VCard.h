#pragma once

#include "core/Result.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

// One property of a vCard: its name without a group ("EMAIL" of "item1.EMAIL"), its parameters
// with names in upper case, and its value decoded to text (quoted-printable and the CHARSET
// parameter applied) but still escaped, so that structured values can be split.
struct VCardProperty
{
    QString name;
    QStringList types; // TYPE values in upper case, from TYPE=WORK,FAX, TYPE=work;TYPE=fax or 2.1's ;WORK;FAX
    QString pref;      // the PREF parameter (4.0), or "1" for 3.0's TYPE=PREF
    QString value;

    bool hasType(const QString& type) const { return types.contains(type); }
    // The value with \n, \, \; and \\ turned back into their characters.
    QString text() const;
    // The parts of a structured value (N, ADR, ORG), split at each unescaped ";", each unescaped.
    QStringList components() const;
};

// One card: its properties in file order.
struct VCard
{
    std::vector<VCardProperty> properties;

    // The first property of the name, or none.
    const VCardProperty* first(const QString& name) const;
    // The first property of the name that has the type, or none.
    const VCardProperty* firstOfType(const QString& name, const QString& type) const;
    QString text(const QString& name) const;
    // Part k of the first structured property of the name, or "".
    QString component(const QString& name, int k) const;
};

// What the address book and the mail client read of a card beside its e-mail: the parts of N
// (family, given and additional names), FN, TITLE, ORG's first part, the parts of the ADR of
// TYPE=WORK (else of one without a type), the TEL of TYPE=WORK that is no fax, the fax (a work
// fax first) and the URL of TYPE=WORK (else the first URL).
struct VCardBusinessFields
{
    QString family, given, middle, formatted;
    QString title, company;
    QString street, city, region, postalCode, country;
    QString phone, fax, url;

    explicit VCardBusinessFields(const VCard& card);
};

namespace VCardFile {

// Reads the cards of a vCard file (2.1, 3.0 or 4.0; one or many cards). Lines end at CR LF, LF
// or CR; a line that starts with a blank continues the one before it, and so does the line after
// a quoted-printable value ending in "=". Values are read as their CHARSET says, else as UTF-8
// when valid, else as Windows-1252. A card nested in another (2.1's AGENT) is passed over.
// An error value names the file when it holds no card or a card that never ends.
Result<std::vector<VCard>> parse(const QByteArray& bytes, const QString& fileName);

} // namespace VCardFile
