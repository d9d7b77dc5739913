#pragma once

#include <QColor>
#include <QFrame>

#include <array>

class QLabel;
class QToolButton;

// The colour frame "framColor" that drops down below a colour button of the toolbar: the
// automatic swatch lblColor(0) with "Automatic", the sixteen "Standard Colors" lblColor(1) to
// lblColor(16), and "More Colors...". It serves the highlight colour (tag "HC") or the font
// colour (tag "C"); the composer decides what a chosen colour does.
class ColorFrame : public QFrame
{
    Q_OBJECT

public:
    static constexpr int SwatchCount = 17;

    explicit ColorFrame(QWidget* parent = nullptr);

    QColor color(int index) const;
    // The automatic swatch: white for the highlight, black for the font colour.
    void setAutomatic(const QColor& color);

    QString tag() const { return m_tag; }
    void setTag(const QString& tag) { m_tag = tag; }

    std::array<QLabel*, SwatchCount> lblColor;
    QLabel* lblCAutomatic;
    QToolButton* cmdMoreColors;

signals:
    void colorClicked(int index);
    void moreColorsClicked();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void paintSwatch(int index, const QColor& color);

    QString m_tag;
};
