#include "Main.h"

#include "core/DesktopTheme.h"
#include "core/WidgetMessagePresenter.h"

#include <QApplication>

using namespace Qt::StringLiterals;

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(u"Quillbay"_s);
    QApplication::setApplicationDisplayName(u"Quillbay+"_s);
    QApplication::setQuitOnLastWindowClosed(false);
    installWidgetMessagePresenter();
    useDesktopIconTheme();
    Main();
    return QApplication::exec();
}
