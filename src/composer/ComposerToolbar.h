#pragma once

#include <QColor>
#include <QHash>
#include <QWidget>

class QComboBox;
class QToolBar;
class QToolButton;

// The editing toolbar "TbEdit" of the composer: the buttons of the command table in the order of
// their positions (1 "OPEN" … 30 "REDO"), the font and size boxes after "SAVE", and the two
// colour buttons whose pictures show the current highlight and font colours. The buttons are
// laid in two rows so that every command is in reach at the wizard's width: positions 1 to 17
// (file, font, style, alignment, lists) above, 19 to 30 (colours, link, picture, clipboard,
// undo) below. Each button carries its key ("Bold", "HColor", …) as object name; keys are
// compared case-sensitively.
class ComposerToolbar : public QWidget
{
    Q_OBJECT

public:
    explicit ComposerToolbar(QWidget* parent = nullptr);

    // The button with this key, or nullptr.
    QToolButton* button(const QString& key) const;
    // The position of a button in the command table (1 to 30), or 0 for an unknown key.
    int position(const QString& key) const;
    QStringList keys() const;

    // The left edge of a button, in the toolbar's own coordinates.
    int buttonLeft(const QString& key) const;
    int buttonWidth(const QString& key) const;

    // Paints the bars of the two colour buttons; the button-face colour stands for "no colour"
    // while the toolbar is greyed.
    void paintColors(const QColor& highlight, const QColor& font);

    QComboBox* cboFont;
    QComboBox* cboFontSize;

signals:
    void buttonClick(const QString& key);

private:
    QToolBar* addRow();
    QToolButton* addButton(QToolBar* row, int position, const QString& key);

    QHash<QString, QToolButton*> m_buttons;
    QHash<QString, int> m_positions;
};
