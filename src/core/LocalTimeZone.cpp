#include "LocalTimeZone.h"

#include <cstdlib>

namespace LocalTimeZone {

void loadOnce()
{
    if (std::getenv("TZ") == nullptr) {
        setenv("TZ", ":/etc/localtime", 0);
    }
}

} // namespace LocalTimeZone
