#include "WordStatus.h"

#include "core/SettingsKeys.h"

using namespace Qt::StringLiterals;

namespace wordlink {

void setWordRunning(bool running)
{
    SettingsStore::instance().setValue(Keys::WordRunning, running ? u"Y"_s : u"N"_s);
}

} // namespace wordlink
