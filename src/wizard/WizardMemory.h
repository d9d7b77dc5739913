#pragma once

#include "contacts/BlankReplacers.h"

#include <QList>
#include <QString>

// What the merge wizard remembers between runs: where the contacts came from, how blanks are
// filled, the column order of the contact list, the composer's font and the way of sending.
struct WizardMemoryValues
{
    enum class SendWay
    {
        None,
        Smtp,
        Outbox
    };

    QString wabFile;
    QString tabFile;
    QString commaFile;
    QString contactFolderName; // the contact folder box and its identifier
    QString contactEntryId;
    QString xlFile;
    QString xlSheet;
    QString mdbFile;
    QString tableName;
    QString password;
    BlankReplacers blanks;
    // Display position (1-based) of the contact list's columns 1, 2, …; shorter than the
    // column count when a stored position could not be used.
    QList<int> columnPositions;
    SendWay sendWay = SendWay::None;
    QString fontName;
    QString fontSize;
};

namespace WizardMemory {

// Reads the values the wizard restores when it opens. A stored column position that is not a
// number, or lies outside the list, ends the reading there: later values keep their defaults.
WizardMemoryValues LoadWizardMemory(int columnCount);

// Writes the values the wizard keeps when it closes, each by its rule: the source boxes only
// when they hold a path, the font only when chosen, the way of sending only when one is set.
void SaveWizardMemory(const WizardMemoryValues& values);

} // namespace WizardMemory
