#include "AppPaths.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

// The help page lives in this library's resources; a static library must register them itself.
static void initHelpResource()
{
    Q_INIT_RESOURCE(help);
}

namespace AppPaths {

QString applicationFolder()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/Quillbay"_s;
    QDir().mkpath(folder);
    return folder;
}

QString file(const QString& name)
{
    return applicationFolder() + u'/' + name;
}

QString helpFile()
{
    const QString path = file(u"QuillbayHelp.html"_s);
    if (!QFile::exists(path)) {
        initHelpResource();
        QFile::copy(u":/help/QuillbayHelp.html"_s, path);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    }
    return QFile::exists(path) ? path : QString();
}

} // namespace AppPaths
