#include "DesktopTheme.h"

#include <QIcon>
#include <QStringList>

using namespace Qt::StringLiterals;

void useDesktopIconTheme()
{
    QStringList paths = QIcon::themeSearchPaths();
    if (!paths.contains(u"/usr/share/icons"_s)) {
        paths << u"/usr/share/icons"_s;
        QIcon::setThemeSearchPaths(paths);
    }
    if (QIcon::themeName().isEmpty() || QIcon::themeName() == u"hicolor"_s) {
        QIcon::setThemeName(u"Adwaita"_s);
    }
}
