#include "ConsoleRunView.h"

#include <QCoreApplication>

void ConsoleRunView::pumpEvents()
{
    QCoreApplication::processEvents();
}
