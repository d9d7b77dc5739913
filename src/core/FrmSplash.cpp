#include "FrmSplash.h"

#include "Dialogs.h"
#include "FrmWelcome.h"
#include "SettingsKeys.h"
#include "Twips.h"
#include "WaitCursor.h"

#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

FrmSplash::FrmSplash(QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint)
    , m_lblLoading(new QLabel(u"Initializing Views..."_s, this))
    , m_tmrSplash(new QTimer(this))
{
    setObjectName(u"frmSplash"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setStyleSheet(u"#frmSplash { background: #1f3b5c; } QLabel { color: white; }"_s);

    auto* name = new QLabel(u"Quillbay+"_s, this);
    name->setObjectName(u"lblProductName"_s);
    QFont nameFont = name->font();
    nameFont.setPointSize(26);
    nameFont.setBold(true);
    name->setFont(nameFont);
    auto* notice = new QLabel(u"Your companion to Word documents: browse, merge, mail and search."_s, this);
    notice->setObjectName(u"lblNotice"_s);
    notice->setWordWrap(true);
    m_lblLoading->setObjectName(u"lblLoading"_s);
    m_lblLoading->setVisible(false);

    const QString captions[2] = {u"Next"_s, u"O.K"_s};
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    for (int i = 0; i < 2; ++i) {
        m_buttons[i] = new QPushButton(captions[i], this);
        m_buttons[i]->setObjectName(u"cmdButton_%1"_s.arg(i));
        m_buttons[i]->setVisible(false);
        connect(m_buttons[i], &QPushButton::clicked, this, [this, i] { cmdButton_Click(i); });
        buttons->addWidget(m_buttons[i]);
    }

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 14);
    layout->addWidget(name);
    layout->addWidget(notice);
    layout->addStretch();
    layout->addWidget(m_lblLoading);
    layout->addLayout(buttons);

    m_tmrSplash->setObjectName(u"TmrSplash"_s);
    m_tmrSplash->setSingleShot(true);
    m_tmrSplash->setInterval(10);
    connect(m_tmrSplash, &QTimer::timeout, this, &FrmSplash::TmrSplash_Timer);

    m_flash = SettingsStore::instance().value(Keys::Flash);
}

void FrmSplash::applyMode1()
{
    const int width = Twips::toPixels(5400);
    resize(width, Twips::toPixels(3000));
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        move(area.x() + (area.width() - width) / 2, area.y() + (area.height() - height()) / 2);
    }
}

void FrmSplash::startLoading(MainWindowLoader loader)
{
    m_loader = std::move(loader);
    applyMode1();
    m_buttons[0]->setVisible(false);
    m_buttons[1]->setVisible(false);
    m_lblLoading->setVisible(true);
    m_tmrSplash->start();
    show();
}

void FrmSplash::showAbout()
{
    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    setWindowModality(Qt::ApplicationModal);
    applyMode1();
    m_buttons[1]->setText(u"O.K"_s);
    m_buttons[1]->setVisible(true);
    m_buttons[0]->setVisible(false);
    // The loading line is free in the About box: it names the version.
    m_lblLoading->setText(u"Version "_s + QStringLiteral(QUILLBAY_VERSION));
    m_lblLoading->setVisible(true);
    show();
}

void FrmSplash::setLoadingText(const QString& text)
{
    m_lblLoading->setText(text);
    m_lblLoading->repaint();
}

QString FrmSplash::loadingText() const
{
    return m_lblLoading->text();
}

void FrmSplash::TmrSplash_Timer()
{
    m_tmrSplash->stop();
    QWidget* mainWindow = nullptr;
    if (m_loader) {
        const WaitCursor wait;
        mainWindow = m_loader(*this);
    }
    m_lblLoading->setVisible(false);
    close();
    if (mainWindow == nullptr) {
        return;
    }
    mainWindow->show();
    if (m_flash == u"0"_s) {
        FrmWelcome* welcome = FrmWelcome::instance();
        welcome->show();
        SetTopMost(welcome);
    }
}

void FrmSplash::cmdButton_Click(int index)
{
    if (index == 1) {
        close();
    }
}
