#pragma once

#include <QWidget>

#include <functional>

class QLabel;
class QPushButton;
class QTimer;

// The small window that stands while the main window loads, and the About box.
class FrmSplash : public QWidget
{
    Q_OBJECT

public:
    // Loads the main window, reporting its progress into the splash, and gives it back
    // (not yet shown).
    using MainWindowLoader = std::function<QWidget*(FrmSplash& splash)>;

    explicit FrmSplash(QWidget* parent = nullptr);

    // Mode 1: the fixed width of 5400 twips, centred horizontally on the screen.
    void applyMode1();

    // The start-up road from the entry point: both buttons hidden, the loading label shown,
    // the timer armed; the window shows modeless and the caller returns to the event loop.
    void startLoading(MainWindowLoader loader);

    // The About box: only the second button, captioned "O.K", shown modal.
    void showAbout();

    void setLoadingText(const QString& text);
    QString loadingText() const;
    QString flash() const { return m_flash; }

private:
    void TmrSplash_Timer();
    void cmdButton_Click(int index);

    QLabel* m_lblLoading;
    QPushButton* m_buttons[2];
    QTimer* m_tmrSplash;
    QString m_flash;
    MainWindowLoader m_loader;
};
