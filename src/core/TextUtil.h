#pragma once

#include <QString>

namespace TextUtil {

// Trims blanks (the space character only) at both ends, as the merge rules and path boxes
// do; tabs and line ends stay.
QString trimSpaces(const QString& text);

// The part behind the last "/" of a path (the whole text when there is none).
QString lastPathPart(const QString& path);

} // namespace TextUtil
