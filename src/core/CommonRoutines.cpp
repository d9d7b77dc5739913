#include "CommonRoutines.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTextStream>

using namespace Qt::StringLiterals;

bool FileExists(const QString& path)
{
    if (path.isEmpty()) {
        return false;
    }
    const QFileInfo info(path);
    return info.isFile() && info.size() >= 1;
}

void MakeFolder(const QString& path)
{
    if (!path.isEmpty()) {
        QDir().mkdir(path);
    }
}

namespace {

QString home()
{
    return QDir::homePath();
}

QString xdgDir(const char* variable, const QString& fallbackBelowHome)
{
    const QString value = qEnvironmentVariable(variable);
    return value.isEmpty() ? home() + u'/' + fallbackBelowHome : value;
}

// The user's templates folder as xdg-user-dirs records it, else ~/Templates.
QString userTemplatesDir()
{
    QFile dirs(xdgDir("XDG_CONFIG_HOME", u".config"_s) + u"/user-dirs.dirs"_s);
    if (dirs.open(QIODevice::ReadOnly | QIODevice::Text)) {
        QTextStream in(&dirs);
        while (!in.atEnd()) {
            const QString line = in.readLine().trimmed();
            if (line.startsWith(u"XDG_TEMPLATES_DIR="_s)) {
                QString value = line.mid(18);
                value.remove(u'"');
                value.replace(u"$HOME"_s, home());
                return value;
            }
        }
    }
    return home() + u"/Templates"_s;
}

QString standard(QStandardPaths::StandardLocation location)
{
    return QStandardPaths::writableLocation(location);
}

QString pathForCode(int code)
{
    switch (code) {
    case 2:  // Programs
    case 11: // Start menu
        return standard(QStandardPaths::ApplicationsLocation);
    case 5: // Personal (documents)
        return standard(QStandardPaths::DocumentsLocation);
    case 7: // Startup
        return xdgDir("XDG_CONFIG_HOME", u".config"_s) + u"/autostart"_s;
    case 13: // My Music
        return standard(QStandardPaths::MusicLocation);
    case 16: // Desktop directory
        return standard(QStandardPaths::DesktopLocation);
    case 20: // Fonts
        return standard(QStandardPaths::GenericDataLocation) + u"/fonts"_s;
    case 21: // Templates
        return userTemplatesDir();
    case 24: // Common startup
        return u"/etc/xdg/autostart"_s;
    case 26: // Application data
        return standard(QStandardPaths::GenericDataLocation);
    case 28: // Local application data
        return xdgDir("XDG_STATE_HOME", u".local/state"_s);
    case 32: // Internet cache
        return standard(QStandardPaths::GenericCacheLocation);
    case 35: // Common application data
        return u"/usr/share"_s;
    case 36: // Windows
        return u"/usr"_s;
    case 37: // System
        return u"/usr/lib"_s;
    case 38: // Program files
        return u"/usr/bin"_s;
    case 39: // My Pictures
        return standard(QStandardPaths::PicturesLocation);
    case 40: // Profile
        return home();
    case 43: // Common program files
        return u"/usr/lib"_s;
    default: // Favorites, Recent, SendTo, network and printer links, cookies, history, x86 system, common desktop
        return {};
    }
}

// Shell folder code of each index from 2 to 29.
constexpr int CodeByIndex[30] = {-1, -1, 2,  5,  6,  7,  8,  9,  11, 13, 16, 19, 20, 21, 24,
                                 25, 26, 27, 28, 32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 43};

} // namespace

QString SpecialFolderByCode(int code)
{
    const QString path = pathForCode(code);
    if (path.isEmpty() || !QFileInfo(path).isDir()) {
        return {};
    }
    return QDir::cleanPath(path);
}

QString GetSpecialFolder(int index)
{
    if (index < 0 || index > 29) {
        return {};
    }
    if (index == 0) {
        return SpecialFolderByCode(37); // the system directory
    }
    if (index == 1) {
        return SpecialFolderByCode(36); // the windows directory
    }
    return SpecialFolderByCode(CodeByIndex[index]);
}
