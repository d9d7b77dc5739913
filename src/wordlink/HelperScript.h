#pragma once

#include <QString>

namespace wordlink {

// The Python helpers travel inside the program (resources under ":/wordlink/") and are written
// out into the application folder when they are first needed, or when the program carries a
// newer copy than the one there, with the module they share (office_common.py) beside them.
// Gives the written file's path.
QString helperScript(const QString& fileName);

} // namespace wordlink
