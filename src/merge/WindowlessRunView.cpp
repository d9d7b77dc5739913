#include "WindowlessRunView.h"

#include <QCoreApplication>

void WindowlessRunView::pumpEvents()
{
    QCoreApplication::processEvents();
}
