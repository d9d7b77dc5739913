#include "FrmWelcome.h"

#include "SettingsKeys.h"
#include "Twips.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QEvent>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QStyle>

using namespace Qt::StringLiterals;

namespace {

const QString FeatureLines[8] = {
    u"Personalized Email Newsletter Merge/Organizer - Click Mailing List"_s,
    u"Personalized Postal Letter Merge/Organizer - Click Mailing List"_s,
    u"Send Personalized MS Word Document as an email ATTACHMENT - Click Mailing List"_s,
    u"Preview Pane (Preview Word Documents without opening the file - like Email clients)"_s,
    u"Deep Search: Search documents using keywords inside a word document - Click Search"_s,
    u"Search && Replace particular Word or phrase in all documents - Click Search"_s,
    u"Logs File (List of last 50 Opened Word documents) - Click View Logs"_s,
    u"Change Pre-view Layouts for your convenience - Click Options >> Layout"_s,
};

// A caption written for a control that reads "&&" as one ampersand, shown on a plain label.
QString labelText(QString caption)
{
    return caption.replace(u"&&"_s, u"&"_s);
}

} // namespace

namespace {

QPointer<FrmWelcome>& instancePointer()
{
    static QPointer<FrmWelcome> window;
    return window;
}

} // namespace

FrmWelcome* FrmWelcome::instance()
{
    if (instancePointer().isNull()) {
        instancePointer() = new FrmWelcome;
    }
    return instancePointer();
}

void FrmWelcome::closeEvent(QCloseEvent* event)
{
    // An unloaded window is gone: the next use makes a new one, which loads afresh.
    if (instancePointer() == this) {
        instancePointer().clear();
    }
    QDialog::closeEvent(event);
}

FrmWelcome::FrmWelcome(QWidget* parent)
    : QDialog(parent)
    , m_chkDontShow(new QCheckBox(u"Don't show this dialog in the future."_s, this))
    , m_lblnext(new QLabel(u"Next >>"_s, this))
    , m_btnnext(new QPushButton(this))
{
    setObjectName(u"frmWelcome"_s);
    setWindowTitle(u"Quillbay+ : Basics & Features"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    setMouseTracking(true);

    auto* grid = new QGridLayout(this);
    grid->setVerticalSpacing(Twips::toPixels(305) - fontMetrics().height());
    const QIcon pointer = style()->standardIcon(QStyle::SP_ArrowRight);
    for (int i = 0; i < 8; ++i) {
        auto* image = new QLabel(this);
        image->setObjectName(u"ImgPtr_%1"_s.arg(i));
        image->setPixmap(pointer.pixmap(14, 14));
        image->setVisible(i == 0);
        m_imgPtr << image;
        auto* line = new QLabel(labelText(FeatureLines[i]), this);
        line->setObjectName(u"lblFeature_%1"_s.arg(i));
        grid->addWidget(image, i, 0);
        grid->addWidget(line, i, 1);
    }
    m_chkDontShow->setObjectName(u"ChkDontShow"_s);
    m_lblnext->setObjectName(u"lblnext"_s);
    m_lblnext->setCursor(Qt::PointingHandCursor);
    m_lblnext->installEventFilter(this);
    m_btnnext->setObjectName(u"btnnext"_s);
    m_btnnext->setIcon(pointer);
    m_btnnext->setFlat(true);
    m_btnnext->installEventFilter(this);
    connect(m_btnnext, &QPushButton::clicked, this, &FrmWelcome::lblnext_Click);

    auto* footer = new QHBoxLayout;
    footer->addWidget(m_chkDontShow);
    footer->addStretch();
    footer->addWidget(m_lblnext);
    footer->addWidget(m_btnnext);
    grid->addLayout(footer, 8, 0, 1, 2);

    Form_Load();
}

void FrmWelcome::Form_Load()
{
    m_chkDontShow->setChecked(SettingsStore::instance().value(Keys::Flash).toInt() != 0);
    // ShowPointers: the pointer images 1 to 7 stand 305 twips under one another.
    for (int i = 1; i < m_imgPtr.size(); ++i) {
        m_imgPtr[i]->setVisible(true);
    }
}

void FrmWelcome::lblnext_Click()
{
    SettingsStore::instance().setValue(Keys::Flash, m_chkDontShow->isChecked() ? u"1"_s : u"0"_s);
    close();
}

void FrmWelcome::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Escape) {
        lblnext_Click();
        return;
    }
    QDialog::keyPressEvent(event);
}

bool FrmWelcome::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Enter || event->type() == QEvent::MouseMove) {
        setNextUnderlined(true);
    } else if (watched == m_lblnext && event->type() == QEvent::MouseButtonRelease) {
        lblnext_Click();
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void FrmWelcome::mouseMoveEvent(QMouseEvent* event)
{
    setNextUnderlined(false);
    QDialog::mouseMoveEvent(event);
}

void FrmWelcome::setNextUnderlined(bool underlined)
{
    QFont font = m_lblnext->font();
    font.setUnderline(underlined);
    m_lblnext->setFont(font);
}
