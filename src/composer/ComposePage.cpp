#include "ComposePage.h"

#include "contacts/MergeFieldTable.h"
#include "core/AppPaths.h"
#include "core/Dialogs.h"
#include "core/MessageBoxes.h"
#include "core/SettingsKeys.h"
#include "core/TextDecoding.h"
#include "wizard/TokenEngine.h"
#include "wordlink/PdfExport.h"
#include "wordlink/ui/FirstPageRenderer.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QCursor>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontInfo>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocumentFragment>
#include <QTextEdit>
#include <QTextList>
#include <QToolBar>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// The HTML font sizes 1 to 7 in points.
constexpr double PointsOfHtmlSize[8] = {0, 8, 10, 12, 14, 18, 24, 36};

// The standard colours of the colour frame; entry 0 is the automatic one, set on opening.
const QColor StandardColors[17] = {Qt::black,
                                   QColor(QRgb(0x000000)),
                                   QColor(QRgb(0xFFFFFF)),
                                   QColor(QRgb(0x008000)),
                                   QColor(QRgb(0xFF0000)),
                                   QColor(QRgb(0xFF8000)),
                                   QColor(QRgb(0x0000C0)),
                                   QColor(QRgb(0xC0FFC0)),
                                   QColor(QRgb(0xFFC0C0)),
                                   QColor(QRgb(0xFFFF00)),
                                   QColor(QRgb(0xC0FFFF)),
                                   QColor(QRgb(0xC0C0FF)),
                                   QColor(QRgb(0xFFC0FF)),
                                   QColor(QRgb(0xC0C0C0)),
                                   QColor(QRgb(0xC000C0)),
                                   QColor(QRgb(0xFFE0C0)),
                                   QColor(QRgb(0x804040))};

template <typename W> W* named(W* widget, const QString& name)
{
    widget->setObjectName(name);
    return widget;
}

int htmlSizeOfPoints(double points)
{
    int best = 1;
    for (int size = 1; size <= 7; ++size) {
        if (qAbs(PointsOfHtmlSize[size] - points) < qAbs(PointsOfHtmlSize[best] - points)) {
            best = size;
        }
    }
    return best;
}

// A picture for a toolbar button that the desktop theme does not have.
QIcon drawnIcon(const QString& key, const QColor& color)
{
    QPixmap pixmap(22, 22);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor ink = QApplication::palette().color(QPalette::ButtonText);
    painter.setPen(ink);
    if (key == u"Numbers"_s || key == u"Bullets"_s) {
        QFont font = painter.font();
        font.setPixelSize(7);
        painter.setFont(font);
        for (int line = 0; line < 3; ++line) {
            const int y = 5 + line * 6;
            if (key == u"Numbers"_s) {
                painter.drawText(QRect(1, y - 4, 6, 8), Qt::AlignCenter, QString::number(line + 1));
            } else {
                painter.setBrush(ink);
                painter.drawEllipse(QPointF(4, y), 1.6, 1.6);
            }
            painter.drawLine(9, y, 20, y);
        }
    } else {
        QFont font = painter.font();
        font.setPixelSize(13);
        font.setBold(true);
        painter.setFont(font);
        if (key == u"HColor"_s) {
            painter.fillRect(QRect(3, 3, 16, 13), color);
            painter.drawText(QRect(3, 2, 16, 14), Qt::AlignCenter, u"ab"_s);
        } else {
            painter.drawText(QRect(3, 0, 16, 16), Qt::AlignCenter, u"A"_s);
        }
        painter.fillRect(QRect(2, 17, 18, 4), color);
    }
    return QIcon(pixmap);
}

} // namespace

ComposePage::ComposePage(QWidget* parent)
    : QWidget(parent)
    , m_mnuMergeFlds(new QMenu(u"Fields"_s, this))
{
    setObjectName(u"fraComposeMail"_s);
    auto* layout = new QVBoxLayout(this);
    txtSubject = named(new QLineEdit(this), u"txtSubject"_s);
    txtSubject->installEventFilter(this);
    auto* subject = new QHBoxLayout;
    subject->addWidget(new QLabel(u"Subject :"_s, this));
    subject->addWidget(txtSubject, 1);
    layout->addLayout(subject);

    G1_Tab = named(new QTabWidget(this), u"G1_Tab"_s);
    G1_Tab->addTab(buildEditTab(), u"     Edit     "_s);
    txtSource = named(new QTextEdit(G1_Tab), u"txtSource"_s);
    txtSource->setAcceptRichText(false);
    txtSource->setFont(QFont(u"Courier New"_s));
    txtSource->installEventFilter(this);
    G1_Tab->addTab(txtSource, u"     Source      "_s);
    G1_Tab->addTab(buildPreviewTab(), u"     Mail Preview     "_s);
    G1_Tab->addTab(buildAttachmentTab(), u"     Attachment Preview     "_s);
    connect(G1_Tab, &QTabWidget::currentChanged, this, &ComposePage::G1_Tab_Click);
    layout->addWidget(G1_Tab, 1);

    m_mnuMergeFlds->setObjectName(u"MnuMergeFlds"_s);
    buildFieldMenu();
    buildContextMenu();
    buildColorFrame();
}

QToolButton* ComposePage::addButton(const QString& key, const QString& icon, const QString& tip)
{
    auto* button = new QToolButton(TbEdit);
    button->setObjectName(key);
    button->setProperty("key", key);
    button->setToolTip(tip);
    button->setAutoRaise(true);
    button->setIcon(icon.isEmpty() ? drawnIcon(key, Qt::black) : QIcon::fromTheme(icon, drawnIcon(key, Qt::black)));
    connect(button, &QToolButton::clicked, this, [this, key] { TbEdit_ButtonClick(key); });
    TbEdit->addWidget(button);
    return button;
}

QWidget* ComposePage::buildEditTab()
{
    auto* edit = new QWidget(G1_Tab);
    auto* layout = new QVBoxLayout(edit);
    layout->setContentsMargins(2, 2, 2, 2);
    TbEdit = named(new QToolBar(edit), u"TbEdit"_s);
    TbEdit->setIconSize(QSize(18, 18));
    cboFont = named(new QComboBox(TbEdit), u"cboFont"_s);
    cboFont->setMinimumContentsLength(14);
    cboFontSize = named(new QComboBox(TbEdit), u"cboFontSize"_s);

    addButton(u"OPEN"_s, u"document-open"_s, u"Open"_s);
    addButton(u"SAVE"_s, u"document-save"_s, u"Save"_s);
    TbEdit->addWidget(cboFont);
    TbEdit->addWidget(cboFontSize);
    addButton(u"Bold"_s, u"format-text-bold"_s, u"Bold"_s);
    addButton(u"Italic"_s, u"format-text-italic"_s, u"Italic"_s);
    addButton(u"UnderLine"_s, u"format-text-underline"_s, u"Underline"_s);
    TbEdit->addSeparator();
    addButton(u"Left"_s, u"format-justify-left"_s, u"Align Left"_s);
    addButton(u"Center"_s, u"format-justify-center"_s, u"Center"_s);
    addButton(u"Right"_s, u"format-justify-right"_s, u"Align Right"_s);
    TbEdit->addSeparator();
    addButton(u"Numbers"_s, QString(), u"Numbering"_s);
    addButton(u"Bullets"_s, QString(), u"Bullets"_s);
    addButton(u"Indent"_s, u"format-indent-more"_s, u"Increase Indent"_s);
    addButton(u"Outdent"_s, u"format-indent-less"_s, u"Decrease Indent"_s);
    TbEdit->addSeparator();
    m_hColorButton = addButton(u"HColor"_s, QString(), u"Highlight Color"_s);
    m_colorButton = addButton(u"Color"_s, QString(), u"Font Color"_s);
    // The small area beside each colour button opens the colour frame.
    for (QToolButton* button : {m_hColorButton, m_colorButton}) {
        auto* arrow = new QMenu(button);
        button->setMenu(arrow);
        button->setPopupMode(QToolButton::MenuButtonPopup);
        const QString tag = button == m_hColorButton ? u"HC"_s : u"C"_s;
        connect(arrow, &QMenu::aboutToShow, this, [this, arrow, tag] {
            QMetaObject::invokeMethod(arrow, &QMenu::close, Qt::QueuedConnection);
            toggleColorFrame(tag);
        });
    }
    TbEdit->addSeparator();
    addButton(u"Link"_s, u"insert-link"_s, u"Hyperlink"_s);
    addButton(u"Picture"_s, u"insert-image"_s, u"Picture"_s);
    TbEdit->addSeparator();
    addButton(u"CUT"_s, u"edit-cut"_s, u"Cut"_s);
    addButton(u"COPY"_s, u"edit-copy"_s, u"Copy"_s);
    addButton(u"PASTE"_s, u"edit-paste"_s, u"Paste"_s);
    TbEdit->addSeparator();
    addButton(u"UNDO"_s, u"edit-undo"_s, u"Undo"_s);
    addButton(u"REDO"_s, u"edit-redo"_s, u"Redo"_s);
    paintColorButtons();

    lblMergeFields = named(new QLabel(u"<a href='#'>Merge Fields</a>"_s, edit), u"lblMergeFields"_s);
    lblMergeFields->setToolTip(u"Click to View Merge Fields"_s);
    connect(lblMergeFields, &QLabel::linkActivated, this, [this] {
        if (G1_Tab->currentIndex() == 0) {
            m_mnuMergeFlds->popup(QCursor::pos());
        }
    });
    auto* top = new QHBoxLayout;
    top->addWidget(TbEdit, 1);
    top->addWidget(lblMergeFields);
    dhtCompose = named(new QTextEdit(edit), u"dhtCompose"_s);
    dhtCompose->setAcceptRichText(true);
    dhtCompose->setContextMenuPolicy(Qt::CustomContextMenu);
    dhtCompose->installEventFilter(this);
    dhtCompose->viewport()->installEventFilter(this);
    connect(dhtCompose, &QTextEdit::customContextMenuRequested, this,
            [this](const QPoint& at) { MnuControls->popup(dhtCompose->mapToGlobal(at)); });
    layout->addLayout(top);
    layout->addWidget(dhtCompose, 1);

    connect(cboFont, &QComboBox::currentTextChanged, this, [this](const QString& name) {
        if (!m_writingFontBoxes && m_initialised) {
            applyFontName(name);
            dhtCompose->setFocus();
        }
    });
    connect(cboFontSize, &QComboBox::currentTextChanged, this, [this](const QString& size) {
        if (!m_writingFontBoxes && m_initialised) {
            applyFontSize(size.toInt());
            dhtCompose->setFocus();
        }
    });
    return edit;
}

QWidget* ComposePage::buildPreviewTab()
{
    auto* preview = new QWidget(G1_Tab);
    auto* layout = new QVBoxLayout(preview);
    CboPTo = named(new QComboBox(preview), u"CboPTo"_s);
    CboPIndex = named(new QComboBox(preview), u"CboPIndex"_s);
    CboPIndex->setVisible(false);
    TxtPScrl = named(new QLineEdit(preview), u"TxtPScrl"_s);
    TxtPScrl->setReadOnly(true);
    TxtPScrl->setMaximumWidth(48);
    TxtPScrl->setAlignment(Qt::AlignCenter);
    const std::array<std::pair<QString, QString>, 4> buttons = {{{u"go-previous"_s, u"Backward View"_s},
                                                                 {u"go-next"_s, u"Forward View"_s},
                                                                 {u"go-first"_s, u"First mail preview"_s},
                                                                 {u"go-last"_s, u"Last mail preview"_s}}};
    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(u"Preview for :"_s, preview));
    row->addWidget(CboPTo, 1);
    for (int i = 0; i < 4; ++i) {
        ImgSrl[i] = named(new QToolButton(preview), u"ImgSrl_%1"_s.arg(i));
        ImgSrl[i]->setIcon(QIcon::fromTheme(buttons[i].first));
        ImgSrl[i]->setToolTip(buttons[i].second);
        ImgSrl[i]->setAutoRaise(true);
        connect(ImgSrl[i], &QToolButton::clicked, this, [this, i] { ImgSrl_Click(i); });
    }
    row->addWidget(ImgSrl[2]);
    row->addWidget(ImgSrl[0]);
    row->addWidget(TxtPScrl);
    row->addWidget(ImgSrl[1]);
    row->addWidget(ImgSrl[3]);
    dhtPreview = named(new QTextEdit(preview), u"dhtPreview"_s);
    dhtPreview->setReadOnly(true);
    layout->addLayout(row);
    layout->addWidget(dhtPreview, 1);
    connect(CboPTo, &QComboBox::currentIndexChanged, this, [this] { CboPTo_Click(); });
    return preview;
}

QWidget* ComposePage::buildAttachmentTab()
{
    auto* attachment = new QWidget(G1_Tab);
    auto* layout = new QVBoxLayout(attachment);
    cboPAtTo = named(new QComboBox(attachment), u"cboPAtTo"_s);
    CboPAtIndex = named(new QComboBox(attachment), u"CboPAtIndex"_s);
    CboPAtIndex->setVisible(false);
    PicOleAt = named(new QScrollArea(attachment), u"PicOleAt"_s);
    PicOleAt->setBackgroundRole(QPalette::Dark);
    PicOleAt->horizontalScrollBar()->setObjectName(u"PicHSAt"_s);
    PicOleAt->verticalScrollBar()->setObjectName(u"PicVSAt"_s);
    OleAtWord = named(new QLabel, u"OleAtWord"_s);
    OleAtWord->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    PicOleAt->setWidget(OleAtWord);
    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(u"Preview for :"_s, attachment));
    row->addWidget(cboPAtTo, 1);
    layout->addLayout(row);
    layout->addWidget(PicOleAt, 1);
    connect(cboPAtTo, &QComboBox::currentIndexChanged, this, [this] { cboPAtTo_Click(); });
    return attachment;
}

void ComposePage::buildColorFrame()
{
    framColor = named(new QFrame(this), u"framColor"_s);
    framColor->setFrameShape(QFrame::Box);
    framColor->setAutoFillBackground(true);
    auto* grid = new QGridLayout(framColor);
    grid->setContentsMargins(6, 6, 6, 6);
    grid->setSpacing(3);
    auto* automatic = named(new QLabel(u"Automatic"_s, framColor), u"lblCAutomatic"_s);
    grid->addWidget(automatic, 0, 1, 1, 5);
    grid->addWidget(new QLabel(u"Standard Colors"_s, framColor), 1, 0, 1, 6);
    for (int i = 0; i < 17; ++i) {
        lblColor[i] = named(new QLabel(framColor), u"lblColor_%1"_s.arg(i));
        lblColor[i]->setFixedSize(16, 16);
        lblColor[i]->setFrameShape(QFrame::Box);
        lblColor[i]->setAutoFillBackground(true);
        QPalette palette = lblColor[i]->palette();
        palette.setColor(QPalette::Window, StandardColors[i]);
        lblColor[i]->setPalette(palette);
        lblColor[i]->installEventFilter(this);
        if (i == 0) {
            grid->addWidget(lblColor[i], 0, 0);
        } else {
            grid->addWidget(lblColor[i], 2 + (i - 1) / 6, (i - 1) % 6);
        }
    }
    auto* more = named(new QToolButton(framColor), u"cmdMoreColors"_s);
    more->setText(u"More Colors..."_s);
    connect(more, &QToolButton::clicked, this, &ComposePage::cmdMoreColors_Click);
    grid->addWidget(more, 5, 0, 1, 6);
    framColor->adjustSize();
    framColor->setVisible(false);
}

void ComposePage::buildFieldMenu()
{
    // The twelve fields from First Name to WebPage, the address, then the three custom fields.
    const auto insertOf = [this](QAction* action) {
        connect(action, &QAction::triggered, this, [this, action] { InsertMergeField(action->data().toString()); });
    };
    for (const MergeField& field : MergeFieldTable::standardFields()) {
        QAction* action = m_mnuMergeFlds->addAction(QString::fromUtf16(field.menuCaption));
        action->setObjectName(QString::fromUtf16(field.menuName));
        action->setData(QString::fromUtf16(field.token));
        insertOf(action);
    }
    for (int k = 1; k <= 3; ++k) {
        QAction* action = m_mnuMergeFlds->addAction(QString());
        action->setObjectName(u"MnuCus%1"_s.arg(k));
        insertOf(action);
    }
}

void ComposePage::buildContextMenu()
{
    MnuControls = named(new QMenu(this), u"MnuControls"_s);
    const auto add = [this](const QString& name, const QString& caption, auto slot) {
        QAction* action = MnuControls->addAction(caption);
        action->setObjectName(name);
        connect(action, &QAction::triggered, dhtCompose, slot);
    };
    add(u"MnuUndo"_s, u"Undo"_s, &QTextEdit::undo);
    MnuControls->addSeparator();
    add(u"MnuCut"_s, u"Cut"_s, &QTextEdit::cut);
    add(u"MnuCopy"_s, u"Copy"_s, &QTextEdit::copy);
    add(u"MnuPaste"_s, u"Paste"_s, &QTextEdit::paste);
    QAction* remove = MnuControls->addAction(u"Delete"_s);
    remove->setObjectName(u"MnuDelete"_s);
    connect(remove, &QAction::triggered, this, [this] { dhtCompose->textCursor().removeSelectedText(); });
    MnuControls->addSeparator();
    add(u"MnuSelectAll"_s, u"Select All"_s, &QTextEdit::selectAll);
}

void ComposePage::PrepareFieldMenu(bool customFields, const std::array<QString, 3>& headings)
{
    for (int k = 1; k <= 3; ++k) {
        auto* action = m_mnuMergeFlds->findChild<QAction*>(u"MnuCus%1"_s.arg(k));
        action->setVisible(customFields);
        if (customFields) {
            action->setText(headings[k - 1]);
            action->setData(MergeFieldTable::customToken(headings[k - 1]));
        }
    }
}

void ComposePage::setMergeSources(const TokenEngine* tokens, AttachmentPreviewer attachment)
{
    m_tokens = tokens;
    m_attachment = std::move(attachment);
}

QString ComposePage::DocumentHTML() const
{
    return dhtCompose->toHtml();
}

void ComposePage::setDocumentHTML(const QString& html)
{
    dhtCompose->setHtml(html);
}

void ComposePage::InitComposer()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const SettingsStore& store = SettingsStore::instance();
    const QString fontName = store.value(Keys::ComposerFontName);
    const QString fontSize = store.value(Keys::ComposerFontSize);
    m_writingFontBoxes = true;
    cboFont->clear();
    cboFont->addItems(QFontDatabase::families());
    cboFontSize->clear();
    for (int size = 1; size <= 7; ++size) {
        cboFontSize->addItem(QString::number(size));
    }
    dhtCompose->clear();
    if (!fontName.isEmpty()) {
        // A font this desktop lacks is shown as the one that stands in for it.
        const QString family = QFontInfo(QFont(fontName)).family();
        cboFont->setCurrentText(cboFont->findText(fontName) >= 0 ? fontName : family);
    }
    if (!fontSize.isEmpty()) {
        cboFontSize->setCurrentText(fontSize);
    }
    m_writingFontBoxes = false;
    G1_Tab->setCurrentIndex(0);
    m_initialised = true;
    dhtCompose->setFocus();
    QApplication::restoreOverrideCursor();
}

void ComposePage::paintColorButtons()
{
    const bool enabled = TbEdit->isEnabled();
    const QColor face = QApplication::palette().color(QPalette::Button);
    m_hColorButton->setIcon(drawnIcon(u"HColor"_s, enabled ? picHColor : face));
    m_colorButton->setIcon(drawnIcon(u"Color"_s, enabled ? picColor : face));
}

void ComposePage::DisableComposerToolbar()
{
    if (TbEdit->isEnabled()) {
        m_savedHColor = picHColor;
        m_savedColor = picColor;
    }
    TbEdit->setEnabled(false);
    framColor->setVisible(false);
    cboFont->setEnabled(false);
    cboFontSize->setEnabled(false);
    paintColorButtons();
}

void ComposePage::EnableComposerToolbar()
{
    TbEdit->setEnabled(true);
    cboFont->setEnabled(true);
    cboFontSize->setEnabled(true);
    if (m_savedHColor.isValid()) {
        picHColor = m_savedHColor;
        picColor = m_savedColor;
    }
    paintColorButtons();
}

bool ComposePage::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == dhtCompose && event->type() == QEvent::FocusIn) {
        dhtCompose_GotFocus();
    } else if (watched == txtSubject && event->type() == QEvent::FocusIn) {
        DisableComposerToolbar();
    } else if (watched == dhtCompose->viewport() && event->type() == QEvent::MouseButtonRelease) {
        dhtCompose_onclick();
    } else if ((watched == dhtCompose || watched == txtSource) && event->type() == QEvent::KeyPress) {
        m_previewStale = true;
    } else if (event->type() == QEvent::MouseButtonRelease) {
        for (int i = 0; i < 17; ++i) {
            if (watched == lblColor[i]) {
                lblColor_Click(i);
                return true;
            }
        }
    }
    return QWidget::eventFilter(watched, event);
}

void ComposePage::dhtCompose_GotFocus()
{
    framColor->setVisible(false);
    EnableComposerToolbar();
    if (!m_fontApplied && m_initialised) {
        applyFontBoxes();
        m_fontApplied = true;
    }
}

void ComposePage::dhtCompose_onclick()
{
    m_previewStale = true;
    dhtCompose_GotFocus();
    const QTextCharFormat format = dhtCompose->currentCharFormat();
    m_writingFontBoxes = true;
    const QStringList families = format.fontFamilies().toStringList();
    if (!families.isEmpty()) {
        cboFont->setCurrentText(families.first());
    }
    if (format.fontPointSize() > 0) {
        cboFontSize->setCurrentText(QString::number(htmlSizeOfPoints(format.fontPointSize())));
    }
    m_writingFontBoxes = false;
}

void ComposePage::applyFontName(const QString& name)
{
    QTextCharFormat format;
    format.setFontFamilies({name});
    dhtCompose->mergeCurrentCharFormat(format);
}

void ComposePage::applyFontSize(int htmlSize)
{
    if (htmlSize < 1 || htmlSize > 7) {
        return;
    }
    QTextCharFormat format;
    format.setFontPointSize(PointsOfHtmlSize[htmlSize]);
    dhtCompose->mergeCurrentCharFormat(format);
}

void ComposePage::applyFontBoxes()
{
    if (!cboFont->currentText().isEmpty()) {
        applyFontName(cboFont->currentText());
    }
    applyFontSize(cboFontSize->currentText().toInt());
}

void ComposePage::toggleList(int style)
{
    QTextCursor cursor = dhtCompose->textCursor();
    if (QTextList* list = cursor.currentList(); list != nullptr && list->format().style() == style) {
        // The same button again takes the paragraphs of the selection out of the list.
        const QTextBlock last = dhtCompose->document()->findBlock(cursor.selectionEnd());
        for (QTextBlock block = dhtCompose->document()->findBlock(cursor.selectionStart()); block.isValid();
             block = block.next()) {
            list->remove(block);
            QTextCursor at(block);
            QTextBlockFormat format = at.blockFormat();
            format.setIndent(0);
            at.setBlockFormat(format);
            if (block == last) {
                break;
            }
        }
        return;
    }
    cursor.createList(static_cast<QTextListFormat::Style>(style));
}

void ComposePage::indent(int step)
{
    QTextCursor cursor = dhtCompose->textCursor();
    if (QTextList* list = cursor.currentList(); list != nullptr) {
        QTextListFormat format = list->format();
        format.setIndent(qMax(1, format.indent() + step));
        list->setFormat(format);
        return;
    }
    QTextBlockFormat block = cursor.blockFormat();
    block.setIndent(qMax(0, block.indent() + step));
    cursor.setBlockFormat(block);
}

void ComposePage::insertLink()
{
    QTextCursor cursor = dhtCompose->textCursor();
    const QString address = Dialogs::askText(u"Hyperlink"_s, u"URL :"_s, u"http://"_s, this);
    if (address.isEmpty() || address == u"http://"_s) {
        return;
    }
    QTextCharFormat format;
    format.setAnchor(true);
    format.setAnchorHref(address);
    format.setForeground(QColor(QRgb(0x0000EE)));
    format.setFontUnderline(true);
    if (cursor.hasSelection()) {
        cursor.mergeCharFormat(format);
    } else {
        cursor.insertText(address, format);
    }
}

void ComposePage::insertPicture()
{
    const QString path =
        Dialogs::ShowFileDialog(u"Images (*.png;*.jpg;*.jpeg;*.gif;*.bmp)|*.png;*.jpg;*.jpeg;*.gif;*.bmp"_s, {}, this);
    if (path.isEmpty()) {
        return;
    }
    // The picture is named by its file URL, which the mail run finds and carries inline.
    const QString reference = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toString();
    dhtCompose->document()->addResource(QTextDocument::ImageResource, QUrl(reference), QImage(path));
    QTextImageFormat image;
    image.setName(reference);
    dhtCompose->textCursor().insertImage(image);
}

void ComposePage::TbEdit_ButtonClick(const QString& key)
{
    framColor->setVisible(false);
    QTextCharFormat format;
    if (key == u"OPEN"_s) {
        OpenHtmlFile();
    } else if (key == u"SAVE"_s) {
        SaveHtmlFile();
    } else if (key == u"Bold"_s) {
        format.setFontWeight(dhtCompose->fontWeight() >= QFont::Bold ? QFont::Normal : QFont::Bold);
        dhtCompose->mergeCurrentCharFormat(format);
    } else if (key == u"Italic"_s) {
        dhtCompose->setFontItalic(!dhtCompose->fontItalic());
    } else if (key == u"UnderLine"_s) {
        dhtCompose->setFontUnderline(!dhtCompose->fontUnderline());
    } else if (key == u"Left"_s) {
        dhtCompose->setAlignment(Qt::AlignLeft);
    } else if (key == u"Center"_s) {
        dhtCompose->setAlignment(Qt::AlignHCenter);
    } else if (key == u"Right"_s) {
        dhtCompose->setAlignment(Qt::AlignRight);
    } else if (key == u"Numbers"_s) {
        toggleList(QTextListFormat::ListDecimal);
    } else if (key == u"Bullets"_s) {
        toggleList(QTextListFormat::ListDisc);
    } else if (key == u"Indent"_s) {
        indent(1);
    } else if (key == u"Outdent"_s) {
        indent(-1);
    } else if (key == u"HColor"_s) {
        format.setBackground(picHColor);
        dhtCompose->mergeCurrentCharFormat(format);
    } else if (key == u"Color"_s) {
        format.setForeground(picColor);
        dhtCompose->mergeCurrentCharFormat(format);
    } else if (key == u"Link"_s) {
        insertLink();
    } else if (key == u"Picture"_s) {
        insertPicture();
    } else if (key == u"CUT"_s) {
        dhtCompose->cut();
    } else if (key == u"COPY"_s) {
        dhtCompose->copy();
    } else if (key == u"PASTE"_s) {
        dhtCompose->paste();
    } else if (key == u"UNDO"_s) {
        dhtCompose->undo();
    } else if (key == u"REDO"_s) {
        dhtCompose->redo();
    }
}

void ComposePage::toggleColorFrame(const QString& tag)
{
    if (!TbEdit->isEnabled()) {
        return;
    }
    const bool show = !framColor->isVisible() || m_colorFrameTag != tag;
    framColor->setVisible(show);
    if (!show) {
        return;
    }
    m_colorFrameTag = tag;
    QToolButton* button = tag == u"HC"_s ? m_hColorButton : m_colorButton;
    QPalette palette = lblColor[0]->palette();
    palette.setColor(QPalette::Window, tag == u"HC"_s ? QColor(Qt::white) : QColor(Qt::black));
    lblColor[0]->setPalette(palette);
    const QPoint below = button->mapTo(this, QPoint(0, button->height()));
    framColor->move(qMax(0, below.x() - 30), below.y());
    framColor->raise();
}

void ComposePage::lblColor_Click(int index)
{
    const QColor color = lblColor[index]->palette().color(QPalette::Window);
    QTextCharFormat format;
    if (m_colorFrameTag == u"HC"_s) {
        picHColor = color;
        m_savedHColor = color;
        format.setBackground(color);
    } else {
        picColor = color;
        m_savedColor = color;
        format.setForeground(color);
    }
    dhtCompose->mergeCurrentCharFormat(format);
    paintColorButtons();
    framColor->setVisible(false);
    dhtCompose->setFocus();
}

void ComposePage::cmdMoreColors_Click()
{
    const QColor color = Dialogs::chooseColor(m_colorFrameTag == u"HC"_s ? picHColor : picColor, this);
    if (color.isValid()) {
        QTextCharFormat format;
        if (m_colorFrameTag == u"HC"_s) {
            picHColor = color;
            format.setBackground(color);
        } else {
            picColor = color;
            format.setForeground(color);
        }
        dhtCompose->mergeCurrentCharFormat(format);
        paintColorButtons();
    }
    framColor->setVisible(false);
    dhtCompose->setFocus();
}

void ComposePage::InsertMergeField(const QString& token)
{
    framColor->setVisible(false);
    QTextCharFormat format = dhtCompose->currentCharFormat();
    if (!cboFont->currentText().isEmpty()) {
        format.setFontFamilies({cboFont->currentText()});
    }
    if (const int size = cboFontSize->currentText().toInt(); size >= 1 && size <= 7) {
        format.setFontPointSize(PointsOfHtmlSize[size]);
    }
    dhtCompose->textCursor().insertText(token + u'\t', format);
    txtSource->setPlainText(DocumentHTML());
    m_previewStale = true;
    dhtCompose->setFocus();
    applyFontBoxes();
}

void ComposePage::writeWorkingFile(const QString& text) const
{
    QFile file(AppPaths::file(u"myhtml.htm"_s));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        file.write(text.toUtf8() + '\n');
    }
}

void ComposePage::writeSourceBack()
{
    // A change made in the source reaches the body only by this round trip through the file.
    writeWorkingFile(txtSource->toPlainText());
    QFile file(AppPaths::file(u"myhtml.htm"_s));
    if (file.open(QIODevice::ReadOnly)) {
        dhtCompose->setHtml(TextDecoding::decode(file.readAll()));
    }
}

void ComposePage::G1_Tab_Click(int tab)
{
    const int previous = m_previousTab;
    m_previousTab = tab;
    if (tab == 0) {
        if (previous == 1) {
            writeSourceBack();
        }
        dhtCompose->setFocus();
    } else if (tab == 1) {
        txtSource->setPlainText(DocumentHTML());
        txtSource->setFocus();
        writeWorkingFile(txtSource->toPlainText());
    } else if (tab == 2) {
        if (previous == 1) {
            writeSourceBack();
        }
        QCoreApplication::processEvents();
        if (CboPTo->currentText().isEmpty() && CboPTo->count() > 0) {
            CboPTo->setCurrentIndex(0);
            TxtPScrl->setText(u"1"_s);
        } else if (!CboPTo->currentText().isEmpty() && m_previewStale) {
            CboPTo_Click();
            m_previewStale = false;
        }
    } else if (tab == 3) {
        if (cboPAtTo->currentText().isEmpty() && cboPAtTo->count() > 0) {
            cboPAtTo->setCurrentIndex(0);
        }
    }
}

void ComposePage::CboPTo_Click()
{
    const int index = CboPTo->currentIndex();
    if (CboPTo->currentText().isEmpty() || m_tokens == nullptr) {
        return;
    }
    const int row = CboPIndex->itemText(index).toInt();
    QString html = DocumentHTML();
    m_tokens->MergePreviewFields(row, html);
    dhtPreview->setHtml(html);
    TxtPScrl->setText(QString::number(index + 1));
}

void ComposePage::ImgSrl_Click(int index)
{
    const int count = CboPTo->count();
    const int position = TxtPScrl->text().toInt();
    switch (index) {
    case 0:
        if (TxtPScrl->text() == u"1"_s) {
            CboPTo->setCurrentIndex(0);
        } else if (position > 1) {
            CboPTo->setCurrentIndex(position - 2);
            TxtPScrl->setText(QString::number(CboPTo->currentIndex() + 1));
        }
        break;
    case 1:
        // At the last entry the step forward has nowhere to go, and the preview stays.
        if (position < count) {
            CboPTo->setCurrentIndex(position);
            TxtPScrl->setText(QString::number(CboPTo->currentIndex() + 1));
        }
        break;
    case 2:
        if (TxtPScrl->text() != u"1"_s) {
            TxtPScrl->setText(u"1"_s);
            CboPTo->setCurrentIndex(0);
        }
        break;
    case 3:
        if (position != count) {
            TxtPScrl->setText(QString::number(count));
            CboPTo->setCurrentIndex(count - 1);
        }
        break;
    default:
        break;
    }
}

void ComposePage::cboPAtTo_Click()
{
    if (cboPAtTo->currentText().isEmpty() || !m_attachment) {
        return;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const int row = CboPAtIndex->itemText(cboPAtTo->currentIndex()).toInt();
    const Result<QString> document = m_attachment(row);
    if (document.ok()) {
        const Result<QString> pdf = wordlink::exportPdf(document.value());
        if (pdf.ok()) {
            OleAtWord->setPixmap(QPixmap::fromImage(wordlink::renderFirstPage(pdf.value(), 96)));
            OleAtWord->adjustSize();
            SizeAttachmentView();
        }
    }
    QApplication::restoreOverrideCursor();
}

void ComposePage::SizeAttachmentView()
{
    PicOleAt->horizontalScrollBar()->setValue(0);
    PicOleAt->verticalScrollBar()->setValue(0);
}

void ComposePage::OpenHtmlFile()
{
    const QString name = Dialogs::ShowFileDialog(u"HTML Documents (*.html,*.htm)|*.htm*"_s, {}, this);
    if (name.isEmpty()) {
        return;
    }
    if (name.right(3).toUpper() != u"HTM"_s && name.right(4).toUpper() != u"HTML"_s) {
        MessageBoxes::information(u"Not a Legal Source"_s);
        return;
    }
    QFile file(name);
    if (file.open(QIODevice::ReadOnly)) {
        dhtCompose->setHtml(TextDecoding::decode(file.readAll()));
    }
    m_previewStale = true;
}

void ComposePage::SaveHtmlFile()
{
    const QString name = Dialogs::ShowSaveDialog(u"HTML Documents (*.htm)|*.html|HTM Documents|*.htm"_s, {}, this);
    if (name.isEmpty()) {
        return;
    }
    QFile file(name);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        file.write(DocumentHTML().toUtf8() + '\n');
        txtSource->setProperty("Tag", name);
    }
}
