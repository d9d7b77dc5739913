#pragma once

#include <QStringList>

// quillbay-cli search: the search run of the search window, with its pattern rules, printed as
// one tab-separated row per hit and the window's count line.
int runSearchCommand(const QStringList& arguments);
