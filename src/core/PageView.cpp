#include "PageView.h"

#include "Twips.h"

#include <QApplication>
#include <QLabel>
#include <QPixmap>
#include <QScrollBar>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

namespace {

// The width of a scroll bar, and the room kept for one: 270 twips.
int barRoom()
{
    return Twips::toPixels(270);
}

} // namespace

PageView::PageView(const PageViewNames& names, QWidget* parent)
    : QFrame(parent)
{
    setObjectName(names.box);
    setFrameShape(QFrame::NoFrame);
    setBackgroundRole(QPalette::Mid);
    setAutoFillBackground(true);
    picture = new QLabel(this);
    picture->setObjectName(names.picture);
    picture->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    picture->installEventFilter(this);
    horizontalBar = new QScrollBar(Qt::Horizontal, this);
    horizontalBar->setObjectName(names.horizontalBar);
    verticalBar = new QScrollBar(Qt::Vertical, this);
    verticalBar->setObjectName(names.verticalBar);
    corner = new QWidget(this);
    corner->setObjectName(names.corner);
    corner->setAutoFillBackground(true);
    corner->setBackgroundRole(QPalette::Button);
    for (QScrollBar* bar : {horizontalBar, verticalBar}) {
        bar->setSingleStep(20);
        bar->setVisible(false);
    }
    corner->setVisible(false);
    connect(horizontalBar, &QScrollBar::valueChanged, this, &PageView::horizontalBar_Change);
    connect(verticalBar, &QScrollBar::valueChanged, this, &PageView::verticalBar_Change);
}

void PageView::showPage(const QImage& page)
{
    if (page.isNull()) {
        picture->clear();
        picture->resize(0, 0);
    } else {
        QPixmap pixmap = QPixmap::fromImage(page);
        pixmap.setDevicePixelRatio(page.devicePixelRatio());
        picture->setPixmap(pixmap);
        picture->resize(pixmap.deviceIndependentSize().toSize());
    }
    picture->move(0, 0);
    resetBars();
}

bool PageView::hasPage() const
{
    return !picture->pixmap().isNull();
}

void PageView::resetBars()
{
    horizontalBar->setValue(0);
    verticalBar->setValue(0);
    placeBars();
}

void PageView::placeBars()
{
    const int room = barRoom();
    const bool horizontal = width() - room < picture->width();
    const bool vertical = height() - room < picture->height();
    horizontalBar->setMaximum(horizontal ? picture->width() - width() + room : 0);
    verticalBar->setMaximum(vertical ? picture->height() - height() + room : 0);
    horizontalBar->setPageStep(qMax(1, width() - room));
    verticalBar->setPageStep(qMax(1, height() - room));
    horizontalBar->setVisible(horizontal);
    verticalBar->setVisible(vertical);
    corner->setVisible(vertical);
    // A page that fits in a direction lies at the box's edge in it.
    picture->move(horizontal ? picture->x() : 0, vertical ? picture->y() : 0);
    if (horizontal) {
        horizontalBar->setGeometry(0, height() - room, width() - (vertical ? room : 0), room);
    }
    if (vertical) {
        verticalBar->setGeometry(width() - room, 0, room, height() - (horizontal ? room : 0));
        corner->setGeometry(width() - room, height() - room, room, room);
    }
    horizontalBar->raise();
    verticalBar->raise();
    corner->raise();
}

void PageView::horizontalBar_Change(int value)
{
    if (width() < picture->width()) {
        picture->move(-value, picture->y());
    }
}

void PageView::verticalBar_Change(int value)
{
    if (height() < picture->height()) {
        picture->move(picture->x(), -value);
    }
}

void PageView::resizeEvent(QResizeEvent* event)
{
    QFrame::resizeEvent(event);
    // A larger window shows more of the page; the page keeps its place where it still can.
    placeBars();
    horizontalBar_Change(horizontalBar->value());
    verticalBar_Change(verticalBar->value());
}

bool PageView::eventFilter(QObject* watched, QEvent* event)
{
    // The wheel over the page turns the bar of its direction, as over any scrolled view.
    if (watched == picture && event->type() == QEvent::Wheel) {
        const auto* wheel = static_cast<QWheelEvent*>(event);
        const bool sideways = wheel->modifiers().testFlag(Qt::ShiftModifier) || wheel->angleDelta().y() == 0;
        QScrollBar* bar = sideways ? horizontalBar : verticalBar;
        if (bar->isVisible()) {
            QApplication::sendEvent(bar, event);
        }
        return true;
    }
    return QFrame::eventFilter(watched, event);
}
