#pragma once

#include <QFrame>

class QLabel;

// The import progress of the wizard: the frame fraProcess with the bar ShpProcess, which grows
// to 4000 twips, and the percentage lblPer, shown in front of the page while a step runs. The window repaints only when
// the event loop runs (every 200th row of an import), so the widgets are touched only when what they show changes.
class ProgressPanel : public QFrame
{
    Q_OBJECT

public:
    static constexpr double FullWidth = 4000.0;

    explicit ProgressPanel(QWidget* parent = nullptr);

    // Brings the frame to the front, in the middle of its window, at 0 % with a step of 4000 / total.
    void BeginProgress(double total);
    void advance();
    // Shows a width reached by a caller that keeps its own step.
    void setWidth(double width);
    double width() const { return m_width; }
    QString percentText() const;
    // Hides the frame and sets the percentage back to "0 %".
    void finish();

private:
    void show(double width);
    int percent() const;

    QFrame* m_shpProcess;
    QLabel* m_lblPer;
    double m_step = 0;
    double m_width = 0;
    int m_shownPixels = -1;
    int m_shownPercent = 0;
};
