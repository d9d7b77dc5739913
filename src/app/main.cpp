#include "Main.h"

#include "core/DesktopTheme.h"
#include "core/LocalTimeZone.h"
#include "core/WidgetMessagePresenter.h"

#include <QApplication>

#include <cstdio>
#include <optional>
#include <string_view>

using namespace Qt::StringLiterals;

namespace {

// What the program says on the command line, before any window (and without a display).
std::optional<int> answerCommandLine(int argc, char* argv[])
{
    const std::string_view option = argc > 1 ? argv[1] : "";
    if (option == "--version") {
        std::printf("quillbay %s\n", QUILLBAY_VERSION);
        return 0;
    }
    if (option == "--help" || option == "-h") {
        std::printf("Usage: quillbay [--help] [--version]\n"
                    "Quillbay+, a companion to Word documents: a document browser with a preview, a merge\n"
                    "wizard that turns one template into personalised mails or letters, a search that finds\n"
                    "and replaces words inside documents, and the log of the documents opened last.\n\n"
                    "Options:\n"
                    "  -h, --help     show this help and end\n"
                    "      --version  show the version and end\n\n"
                    "The same merges and searches run without a window through quillbay-cli.\n");
        return 0;
    }
    return std::nullopt;
}

} // namespace

int main(int argc, char* argv[])
{
    LocalTimeZone::loadOnce();
    if (const std::optional<int> answered = answerCommandLine(argc, argv)) {
        return *answered;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(u"Quillbay"_s);
    QApplication::setApplicationDisplayName(u"Quillbay+"_s);
    QApplication::setQuitOnLastWindowClosed(false);
    installWidgetMessagePresenter();
    useDesktopIconTheme();
    Main();
    return QApplication::exec();
}
