#include "ColorFrame.h"

#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

// The standard colours as red, green, blue; entry 0 is the automatic one, set on opening.
constexpr QRgb StandardColors[ColorFrame::SwatchCount] = {0x000000, 0x000000, 0xFFFFFF, 0x008000, 0xFF0000, 0xFF8000,
                                                          0x0000C0, 0xC0FFC0, 0xFFC0C0, 0xFFFF00, 0xC0FFFF, 0xC0C0FF,
                                                          0xFFC0FF, 0xC0C0C0, 0xC000C0, 0xFFE0C0, 0x804040};

constexpr int SwatchSize = 16;
constexpr int SwatchesPerRow = 8;

} // namespace

ColorFrame::ColorFrame(QWidget* parent)
    : QFrame(parent)
{
    setObjectName(u"framColor"_s);
    setFrameShape(QFrame::StyledPanel);
    setFrameShadow(QFrame::Raised);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(6, 6, 6, 6);
    grid->setHorizontalSpacing(4);
    grid->setVerticalSpacing(4);
    for (int i = 0; i < SwatchCount; ++i) {
        auto* swatch = new QLabel(this);
        swatch->setObjectName(u"lblColor_%1"_s.arg(i));
        swatch->setFixedSize(SwatchSize, SwatchSize);
        swatch->setFrameShape(QFrame::Box);
        swatch->setAutoFillBackground(true);
        swatch->setBackgroundRole(QPalette::Window); // not the frame's own background
        swatch->setCursor(Qt::PointingHandCursor);
        swatch->installEventFilter(this);
        lblColor[i] = swatch;
        paintSwatch(i, QColor(StandardColors[i]));
        if (i > 0) {
            swatch->setToolTip(QColor(StandardColors[i]).name().toUpper().mid(1));
            grid->addWidget(swatch, 2 + (i - 1) / SwatchesPerRow, (i - 1) % SwatchesPerRow);
        }
    }
    grid->addWidget(lblColor[0], 0, 0);
    lblCAutomatic = new QLabel(u"Automatic"_s, this);
    lblCAutomatic->setObjectName(u"lblCAutomatic"_s);
    grid->addWidget(lblCAutomatic, 0, 1, 1, SwatchesPerRow - 1);
    auto* heading = new QLabel(u"Standard Colors"_s, this);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    grid->addWidget(heading, 1, 0, 1, SwatchesPerRow);
    cmdMoreColors = new QToolButton(this);
    cmdMoreColors->setObjectName(u"cmdMoreColors"_s);
    cmdMoreColors->setText(u"More Colors..."_s);
    cmdMoreColors->setAutoRaise(true);
    cmdMoreColors->setToolButtonStyle(Qt::ToolButtonTextOnly);
    cmdMoreColors->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    cmdMoreColors->setFocusPolicy(Qt::NoFocus);
    connect(cmdMoreColors, &QToolButton::clicked, this, &ColorFrame::moreColorsClicked);
    grid->addWidget(cmdMoreColors, 4, 0, 1, SwatchesPerRow);
    adjustSize();
    setVisible(false);
}

QColor ColorFrame::color(int index) const
{
    return lblColor[index]->palette().color(QPalette::Window);
}

void ColorFrame::setAutomatic(const QColor& color)
{
    paintSwatch(0, color);
}

void ColorFrame::paintSwatch(int index, const QColor& color)
{
    QPalette palette = lblColor[index]->palette();
    palette.setColor(QPalette::Window, color);
    palette.setColor(QPalette::WindowText, QColor(0x80, 0x80, 0x80));
    lblColor[index]->setPalette(palette);
}

bool ColorFrame::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonRelease) {
        for (int i = 0; i < SwatchCount; ++i) {
            if (watched == lblColor[i]) {
                emit colorClicked(i);
                return true;
            }
        }
    }
    return QFrame::eventFilter(watched, event);
}
