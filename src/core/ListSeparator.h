#pragma once

#include <QChar>
#include <QString>

// The field separator of every packed text of the program (the recent-documents log, the
// folder clipboard, the token lists, the contact-folder picker's result, the stored search
// history). It is the character of code 129, which no contact or template text holds.
inline constexpr QChar ListSeparatorChar{0x0081};

inline QString ListSeparator()
{
    return QString(ListSeparatorChar);
}
