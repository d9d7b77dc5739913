#pragma once

#include <QString>

// The application folder: the working files (the composer's "myhtml.htm", the previews,
// the scratch and attachment copies), "Log.Dat" and the help. It is
// $XDG_DATA_HOME/Quillbay/, made on first use.
namespace AppPaths {

QString applicationFolder();

// A file in the application folder, such as file(u"Temp.docx"_s).
QString file(const QString& name);

// The program's help, an HTML page written into the application folder from the
// program's own resources when it is missing; "" if it cannot be written.
QString helpFile();

} // namespace AppPaths
