#include "AttachmentView.h"

#include "core/Twips.h"

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

AttachmentView::AttachmentView(QWidget* parent)
    : QFrame(parent)
{
    setObjectName(u"PicOleAt"_s);
    setFrameShape(QFrame::NoFrame);
    setBackgroundRole(QPalette::Mid);
    setAutoFillBackground(true);
    OleAtWord = new QLabel(this);
    OleAtWord->setObjectName(u"OleAtWord"_s);
    OleAtWord->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    OleAtWord->installEventFilter(this);
    PicHSAt = new QScrollBar(Qt::Horizontal, this);
    PicHSAt->setObjectName(u"PicHSAt"_s);
    PicVSAt = new QScrollBar(Qt::Vertical, this);
    PicVSAt->setObjectName(u"PicVSAt"_s);
    PicScrAt = new QWidget(this);
    PicScrAt->setObjectName(u"PicScrAt"_s);
    PicScrAt->setAutoFillBackground(true);
    PicScrAt->setBackgroundRole(QPalette::Button);
    for (QScrollBar* bar : {PicHSAt, PicVSAt}) {
        bar->setSingleStep(20);
        bar->setVisible(false);
    }
    PicScrAt->setVisible(false);
    connect(PicHSAt, &QScrollBar::valueChanged, this, &AttachmentView::PicHSAt_Change);
    connect(PicVSAt, &QScrollBar::valueChanged, this, &AttachmentView::PicVSAt_Change);
}

void AttachmentView::showPage(const QImage& page)
{
    if (page.isNull()) {
        OleAtWord->clear();
        OleAtWord->resize(0, 0);
    } else {
        QPixmap pixmap = QPixmap::fromImage(page);
        pixmap.setDevicePixelRatio(page.devicePixelRatio());
        OleAtWord->setPixmap(pixmap);
        OleAtWord->resize(pixmap.deviceIndependentSize().toSize());
    }
    OleAtWord->move(0, 0);
    SizeAttachmentView();
}

bool AttachmentView::hasPage() const
{
    return !OleAtWord->pixmap().isNull();
}

void AttachmentView::SizeAttachmentView()
{
    PicHSAt->setValue(0);
    PicVSAt->setValue(0);
    placeBars();
}

void AttachmentView::placeBars()
{
    const int room = barRoom();
    const bool horizontal = width() - room < OleAtWord->width();
    const bool vertical = height() - room < OleAtWord->height();
    PicHSAt->setMaximum(horizontal ? OleAtWord->width() - width() + room : 0);
    PicVSAt->setMaximum(vertical ? OleAtWord->height() - height() + room : 0);
    PicHSAt->setPageStep(qMax(1, width() - room));
    PicVSAt->setPageStep(qMax(1, height() - room));
    PicHSAt->setVisible(horizontal);
    PicVSAt->setVisible(vertical);
    PicScrAt->setVisible(vertical);
    // A page that fits in a direction lies at the box's edge in it.
    OleAtWord->move(horizontal ? OleAtWord->x() : 0, vertical ? OleAtWord->y() : 0);
    if (horizontal) {
        PicHSAt->setGeometry(0, height() - room, width() - (vertical ? room : 0), room);
    }
    if (vertical) {
        PicVSAt->setGeometry(width() - room, 0, room, height() - (horizontal ? room : 0));
        PicScrAt->setGeometry(width() - room, height() - room, room, room);
    }
    PicHSAt->raise();
    PicVSAt->raise();
    PicScrAt->raise();
}

void AttachmentView::PicHSAt_Change(int value)
{
    if (width() < OleAtWord->width()) {
        OleAtWord->move(-value, OleAtWord->y());
    }
}

void AttachmentView::PicVSAt_Change(int value)
{
    if (height() < OleAtWord->height()) {
        OleAtWord->move(OleAtWord->x(), -value);
    }
}

void AttachmentView::resizeEvent(QResizeEvent* event)
{
    QFrame::resizeEvent(event);
    // A larger window shows more of the page; the page keeps its place where it still can.
    placeBars();
    PicHSAt_Change(PicHSAt->value());
    PicVSAt_Change(PicVSAt->value());
}

bool AttachmentView::eventFilter(QObject* watched, QEvent* event)
{
    // The wheel over the page turns the bar of its direction, as over any scrolled view.
    if (watched == OleAtWord && event->type() == QEvent::Wheel) {
        const auto* wheel = static_cast<QWheelEvent*>(event);
        const bool sideways = wheel->modifiers().testFlag(Qt::ShiftModifier) || wheel->angleDelta().y() == 0;
        QScrollBar* bar = sideways ? PicHSAt : PicVSAt;
        if (bar->isVisible()) {
            QApplication::sendEvent(bar, event);
        }
        return true;
    }
    return QFrame::eventFilter(watched, event);
}
