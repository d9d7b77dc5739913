#include "Main.h"

#include "core/FrmSplash.h"
#include "delivery/FrmSmtp.h"
#include "delivery/SmtpAccount.h"
#include "explorer/FrmFileList.h"
#include "explorer/FrmShowLog.h"
#include "search/FrmSearch.h"
#include "wizard/ui/FrmMailMerge.h"

#include <QPointer>

namespace {

// Shows a modeless window of the program above the others.
void bringUp(QWidget* window)
{
    window->show();
    window->raise();
    window->activateWindow();
}

QPointer<FrmFileList>& mainWindowPointer()
{
    static QPointer<FrmFileList> window;
    return window;
}

} // namespace

FrmFileList* mainWindow()
{
    return mainWindowPointer().data();
}

void Main()
{
    LoadSmtpSettings();
    auto* splash = new FrmSplash;
    splash->startLoading([](FrmSplash& loading) -> QWidget* {
        auto* window = new FrmFileList;
        window->setAttribute(Qt::WA_DeleteOnClose);
        mainWindowPointer() = window;
        QObject::connect(window, &FrmFileList::mailingListRequested, window, [] { bringUp(FrmMailMerge::instance()); });
        QObject::connect(window, &FrmFileList::searchRequested, window, [] { bringUp(FrmSearch::instance()); });
        QObject::connect(window, &FrmFileList::settingsRequested, window, [] { bringUp(FrmSmtp::instance()); });
        QObject::connect(window, &FrmFileList::logRequested, window, [] { bringUp(FrmShowLog::instance()); });
        window->Form_Load([&loading](const QString& text) { loading.setLoadingText(text); });
        return window;
    });
}
