#pragma once

#include <QFrame>
#include <QImage>

class QLabel;
class QScrollBar;

// The object names of a page view's parts, as each window calls them.
struct PageViewNames
{
    QString box;
    QString picture;
    QString horizontalBar;
    QString verticalBar;
    QString corner;
};

// A clipping box that shows a document's page: the page picture at its natural size, moved under
// the box by the program's own scroll bars, with a square where the two bars meet. A bar shows
// only when the page is larger than the box in its direction, less the room kept for a bar.
class PageView : public QFrame
{
    Q_OBJECT

public:
    PageView(const PageViewNames& names, QWidget* parent = nullptr);

    // Shows a page picture (a null image clears the view), then arranges the bars.
    void showPage(const QImage& page);
    bool hasPage() const;

    // Puts both bars back to 0 and shows, sizes and places them for the page and the box.
    void resetBars();

    QLabel* picture;
    QScrollBar* horizontalBar;
    QScrollBar* verticalBar;
    QWidget* corner;

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void placeBars();
    void horizontalBar_Change(int value);
    void verticalBar_Change(int value);
};
