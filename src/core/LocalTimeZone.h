#pragma once

// The local time zone, named once for the whole process. With no TZ in the environment, the C
// library looks at /etc/localtime again at every conversion of a local time, and the zip reader
// converts the time of every entry of a package when it opens one: a search of a few thousand
// documents made some fifty thousand such look-ups. Naming the same file in TZ keeps the zone
// the system has and lets the library load it once. A TZ that is set is left as it is.
// Call at the very start of main(), before any thread runs.
namespace LocalTimeZone {
void loadOnce();
}
