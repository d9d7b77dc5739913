#include "ProgressPanel.h"

#include "core/Twips.h"

#include <QHBoxLayout>
#include <QLabel>

using namespace Qt::StringLiterals;

ProgressPanel::ProgressPanel(QWidget* parent)
    : QFrame(parent)
    , m_shpProcess(new QFrame(this))
    , m_lblPer(new QLabel(u"0 %"_s, this))
{
    setObjectName(u"fraProcess"_s);
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    auto* track = new QFrame(this);
    track->setFixedSize(Twips::toPixels(FullWidth) + 2, 16);
    track->setFrameShape(QFrame::Box);
    m_shpProcess->setParent(track);
    m_shpProcess->setObjectName(u"ShpProcess"_s);
    m_shpProcess->setStyleSheet(u"background: palette(highlight);"_s);
    m_shpProcess->setGeometry(1, 1, 0, 14);
    m_lblPer->setObjectName(u"lblPer"_s);
    m_lblPer->setMinimumWidth(48);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 6, 8, 6);
    layout->addWidget(track);
    layout->addWidget(m_lblPer);
    setVisible(false);
}

void ProgressPanel::BeginProgress(double total)
{
    m_step = FullWidth / (total > 0 ? total : 1);
    m_width = 0;
    m_shownPixels = -1;
    m_shownPercent = 0;
    m_lblPer->setText(u"0 %"_s);
    show(0);
    // In front of the page, in the middle of the window.
    const QSize size = sizeHint();
    if (QWidget* window = parentWidget()) {
        setGeometry((window->width() - size.width()) / 2, (window->height() - size.height()) / 2, size.width(),
                    size.height());
    }
    setVisible(true);
    raise();
}

void ProgressPanel::advance()
{
    m_width = qMin(m_width + m_step, FullWidth);
    show(m_width);
}

void ProgressPanel::setWidth(double width)
{
    m_width = qBound(0.0, width, FullWidth);
    show(m_width);
}

int ProgressPanel::percent() const
{
    return qRound(m_width / FullWidth * 100);
}

QString ProgressPanel::percentText() const
{
    return QString::number(percent()) + u" %"_s;
}

void ProgressPanel::show(double width)
{
    const int pixels = Twips::toPixels(width);
    if (pixels != m_shownPixels) {
        m_shownPixels = pixels;
        m_shpProcess->resize(pixels, m_shpProcess->height());
    }
    if (percent() != m_shownPercent) {
        m_shownPercent = percent();
        m_lblPer->setText(percentText());
    }
}

void ProgressPanel::finish()
{
    setVisible(false);
    m_lblPer->setText(u"0 %"_s);
}
