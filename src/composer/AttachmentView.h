#pragma once

#include <QFrame>
#include <QImage>

class QLabel;
class QScrollBar;

// The clipping box "PicOleAt" of the attachment preview: the page picture "OleAtWord" at its
// natural size, moved under the box by the program's own scroll bars "PicHSAt" and "PicVSAt",
// with the square "PicScrAt" where the two bars meet. A bar shows only when the page is larger
// than the box in its direction, less the room kept for a bar.
class AttachmentView : public QFrame
{
    Q_OBJECT

public:
    explicit AttachmentView(QWidget* parent = nullptr);

    // Shows a page picture (a null image clears the view), then arranges the bars.
    void showPage(const QImage& page);
    bool hasPage() const;

    // Puts both bars back to 0 and shows, sizes and places them for the page and the box.
    void SizeAttachmentView();

    QLabel* OleAtWord;
    QScrollBar* PicHSAt;
    QScrollBar* PicVSAt;
    QWidget* PicScrAt;

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void placeBars();
    void PicHSAt_Change(int value);
    void PicVSAt_Change(int value);
};
