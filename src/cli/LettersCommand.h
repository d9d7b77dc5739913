#pragma once

#include <QStringList>

// quillbay-cli letters: the postal run of the merge wizard, one document per contact in a
// folder or one combined document; prints the files written, then the run's closing text.
int runLettersCommand(const QStringList& arguments);
