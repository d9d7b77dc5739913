#pragma once

#include <QStringList>

// quillbay-cli mail: the SMTP send run of the merge wizard over a contact list, with the
// wizard's importer, field map, token engine and message layout; one line per contact, then
// the run's closing text. Exit status 0 when the run completed, 1 when it was cut off, 2 for
// bad arguments or an unreadable source.
int runMailCommand(const QStringList& arguments);
