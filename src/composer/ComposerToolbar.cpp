#include "ComposerToolbar.h"

#include <QApplication>
#include <QComboBox>
#include <QMenu>
#include <QPainter>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

struct CommandButton
{
    int position;
    const char16_t* key;
    // Icon names of the freedesktop naming, then the names some themes use instead.
    const char16_t* icon;
    const char16_t* alternativeIcon;
    const char16_t* tip;
};

// The command table of the toolbar, by position. Gaps in the positions are separators, and the
// places of the font boxes (3 to 5).
constexpr CommandButton Commands[] = {
    {1, u"OPEN", u"document-open", u"", u"Open"},
    {2, u"SAVE", u"document-save", u"", u"Save"},
    {6, u"Bold", u"format-text-bold", u"", u"Bold"},
    {7, u"Italic", u"format-text-italic", u"", u"Italic"},
    {8, u"UnderLine", u"format-text-underline", u"", u"Underline"},
    {10, u"Left", u"format-justify-left", u"", u"Align Left"},
    {11, u"Center", u"format-justify-center", u"", u"Center"},
    {12, u"Right", u"format-justify-right", u"", u"Align Right"},
    {14, u"Numbers", u"format-list-ordered", u"view-list-ordered", u"Numbering"},
    {15, u"Bullets", u"format-list-unordered", u"view-list-bullet", u"Bullets"},
    {16, u"Indent", u"format-indent-more", u"", u"Increase Indent"},
    {17, u"Outdent", u"format-indent-less", u"", u"Decrease Indent"},
    {19, u"HColor", u"", u"", u"Highlight Color"},
    {20, u"Color", u"", u"", u"Font Color"},
    {22, u"Link", u"insert-link", u"", u"Hyperlink"},
    {23, u"Picture", u"insert-image", u"", u"Picture"},
    {25, u"CUT", u"edit-cut", u"", u"Cut"},
    {26, u"COPY", u"edit-copy", u"", u"Copy"},
    {27, u"PASTE", u"edit-paste", u"", u"Paste"},
    {29, u"UNDO", u"edit-undo", u"", u"Undo"},
    {30, u"REDO", u"edit-redo", u"", u"Redo"},
};

// The first position of the second row.
constexpr int SecondRow = 19;
constexpr int IconSize = 16;

// A picture drawn for a button the desktop theme has no icon for: the list buttons as lines with
// numbers or dots.
QIcon drawnListIcon(bool numbered)
{
    QPixmap pixmap(IconSize, IconSize);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor ink = QApplication::palette().color(QPalette::ButtonText);
    painter.setPen(ink);
    QFont font = painter.font();
    font.setPixelSize(6);
    painter.setFont(font);
    for (int line = 0; line < 3; ++line) {
        const int y = 3 + line * 5;
        if (numbered) {
            painter.drawText(QRect(0, y - 3, 5, 7), Qt::AlignCenter, QString::number(line + 1));
        } else {
            painter.setBrush(ink);
            painter.drawEllipse(QPointF(2.5, y + 0.5), 1.5, 1.5);
        }
        painter.drawLine(7, y, 15, y);
    }
    return QIcon(pixmap);
}

QIcon themeIcon(const CommandButton& command)
{
    const QString key = QString::fromUtf16(command.key);
    const QIcon fallback = key == u"Numbers"_s || key == u"Bullets"_s ? drawnListIcon(key == u"Numbers"_s) : QIcon();
    const QString alternative = QString::fromUtf16(command.alternativeIcon);
    return QIcon::fromTheme(QString::fromUtf16(command.icon),
                            alternative.isEmpty() ? fallback : QIcon::fromTheme(alternative, fallback));
}

// The picture of a colour button: a letter over a bar in the current colour, as word processors
// show it ("A" for the font colour, a marked "ab" for the highlight).
QIcon colorIcon(bool highlight, const QColor& color)
{
    const qreal ratio = qApp->devicePixelRatio();
    QPixmap pixmap(QSize(IconSize, IconSize) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setPen(QApplication::palette().color(QPalette::ButtonText));
    QFont font = QApplication::font();
    font.setBold(true);
    font.setPixelSize(highlight ? 9 : 12);
    painter.setFont(font);
    painter.drawText(QRect(0, 0, IconSize, 12), Qt::AlignCenter, highlight ? u"ab"_s : u"A"_s);
    painter.fillRect(QRect(1, 12, IconSize - 2, 4), color);
    return QIcon(pixmap);
}

} // namespace

ComposerToolbar::ComposerToolbar(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(u"TbEdit"_s);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    cboFont = new QComboBox(this);
    cboFont->setObjectName(u"cboFont"_s);
    cboFont->setToolTip(u"Font"_s);
    cboFont->setMinimumContentsLength(16);
    cboFont->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    cboFontSize = new QComboBox(this);
    cboFontSize->setObjectName(u"cboFontSize"_s);
    cboFontSize->setToolTip(u"Font Size"_s);
    cboFontSize->setMinimumContentsLength(2);

    QToolBar* row = addRow();
    int previous = 0;
    for (const CommandButton& command : Commands) {
        if (command.position >= SecondRow && previous < SecondRow) {
            row = addRow();
        } else if (previous == 2) {
            row->addSeparator();
            row->addWidget(cboFont);
            row->addWidget(cboFontSize);
            row->addSeparator();
        } else if (previous != 0 && command.position > previous + 1) {
            row->addSeparator();
        }
        QToolButton* added = addButton(row, command.position, QString::fromUtf16(command.key));
        added->setToolTip(QString::fromUtf16(command.tip));
        if (command.icon[0] != 0) {
            added->setIcon(themeIcon(command));
        }
        previous = command.position;
    }
    // The colour buttons have an area to their right that opens the colour frame; the menu only
    // makes the style draw that area, it is never opened (the composer takes the press first).
    for (const QString& key : {u"HColor"_s, u"Color"_s}) {
        QToolButton* colour = button(key);
        colour->setMenu(new QMenu(colour));
        colour->setPopupMode(QToolButton::MenuButtonPopup);
    }
}

QToolBar* ComposerToolbar::addRow()
{
    auto* row = new QToolBar(this);
    row->setIconSize(QSize(IconSize, IconSize));
    row->setFloatable(false);
    row->setMovable(false);
    layout()->addWidget(row);
    return row;
}

QToolButton* ComposerToolbar::addButton(QToolBar* row, int position, const QString& key)
{
    auto* created = new QToolButton(row);
    created->setObjectName(key);
    created->setAutoRaise(true);
    created->setFocusPolicy(Qt::NoFocus);
    connect(created, &QToolButton::clicked, this, [this, key] { emit buttonClick(key); });
    row->addWidget(created);
    m_buttons.insert(key, created);
    m_positions.insert(key, position);
    return created;
}

QToolButton* ComposerToolbar::button(const QString& key) const
{
    return m_buttons.value(key, nullptr);
}

int ComposerToolbar::position(const QString& key) const
{
    return m_positions.value(key, 0);
}

QStringList ComposerToolbar::keys() const
{
    QStringList ordered;
    for (const CommandButton& command : Commands) {
        ordered << QString::fromUtf16(command.key);
    }
    return ordered;
}

int ComposerToolbar::buttonLeft(const QString& key) const
{
    const QToolButton* found = button(key);
    return found == nullptr ? 0 : found->mapTo(this, QPoint(0, 0)).x();
}

int ComposerToolbar::buttonWidth(const QString& key) const
{
    const QToolButton* found = button(key);
    return found == nullptr ? 0 : found->width();
}

void ComposerToolbar::paintColors(const QColor& highlight, const QColor& font)
{
    button(u"HColor"_s)->setIcon(colorIcon(true, highlight));
    button(u"Color"_s)->setIcon(colorIcon(false, font));
}
