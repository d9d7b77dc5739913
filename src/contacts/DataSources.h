#pragma once

#include <QString>
#include <QStringList>

// The six contact sources, by their index in the wizard's source list; the index is the
// source's number everywhere in the program. Sources 2 and up are the mapped, file-like ones:
// only they have a map page, custom fields and blank-field replacers.
enum class SourceKind
{
    AddressBook = 0,
    MailClient = 1,
    Excel = 2,
    Access = 3,
    TabText = 4,
    CommaText = 5
};

namespace DataSources {

// "WAB(Address Book)", "Outlook Contacts", … in list order.
QStringList entries();

constexpr bool isFileLike(int sourceIndex)
{
    return sourceIndex >= 2;
}

} // namespace DataSources
