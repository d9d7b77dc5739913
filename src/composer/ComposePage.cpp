#include "ComposePage.h"

#include "ColorFrame.h"
#include "ComposerToolbar.h"
#include "contacts/MergeFieldTable.h"
#include "core/AppPaths.h"
#include "core/Dialogs.h"
#include "core/MessageBoxes.h"
#include "core/PageView.h"
#include "core/SettingsKeys.h"
#include "core/TextDecoding.h"
#include "core/Twips.h"
#include "core/WaitCursor.h"
#include "merge/TokenEngine.h"
#include "wordlink/PdfExport.h"
#include "wordlink/WordStatus.h"
#include "wordlink/ui/FirstPageRenderer.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontInfo>
#include <QHBoxLayout>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QTabWidget>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>
#include <QTextList>
#include <QToolButton>
#include <QVBoxLayout>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// The HTML font sizes 1 to 7 in points.
constexpr double PointsOfHtmlSize[8] = {0, 8, 10, 12, 14, 18, 24, 36};

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

// The source view shows the HTML in a fixed-pitch font: Courier New where it is installed, the
// desktop's fixed font otherwise.
QFont sourceFont()
{
    QFont font(u"Courier New"_s);
    if (QFontInfo(font).family() == u"Courier New"_s) {
        return font;
    }
    font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (!QFontInfo(font).fixedPitch()) {
        font = QFont(u"monospace"_s);
        font.setStyleHint(QFont::TypeWriter);
    }
    return font;
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
    txtSource->setFont(sourceFont());
    txtSource->installEventFilter(this);
    G1_Tab->addTab(txtSource, u"     Source      "_s);
    G1_Tab->addTab(buildPreviewTab(), u"     Mail Preview     "_s);
    G1_Tab->addTab(buildAttachmentTab(), u"     Attachment Preview     "_s);
    connect(G1_Tab, &QTabWidget::currentChanged, this, &ComposePage::G1_Tab_Click);
    layout->addWidget(G1_Tab, 1);

    // "Merge Fields" stands beside the tab captions, where it can be seen from every tab; the
    // menu opens on the Edit tab only.
    lblMergeFields = named(new QLabel(u"<a href='#'>Merge Fields</a>"_s, G1_Tab), u"lblMergeFields"_s);
    lblMergeFields->setToolTip(u"Click to View Merge Fields"_s);
    lblMergeFields->setContentsMargins(0, 0, 6, 2);
    connect(lblMergeFields, &QLabel::linkActivated, this, &ComposePage::lblMergeFields_Click);
    G1_Tab->setCornerWidget(lblMergeFields, Qt::TopRightCorner);

    m_mnuMergeFlds->setObjectName(u"MnuMergeFlds"_s);
    buildFieldMenu();
    buildContextMenu();
    framColor = new ColorFrame(this);
    connect(framColor, &ColorFrame::colorClicked, this, &ComposePage::lblColor_Click);
    connect(framColor, &ColorFrame::moreColorsClicked, this, &ComposePage::cmdMoreColors_Click);
    paintColorButtons();
}

QWidget* ComposePage::buildEditTab()
{
    auto* edit = new QWidget(G1_Tab);
    auto* layout = new QVBoxLayout(edit);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    TbEdit = new ComposerToolbar(edit);
    cboFont = TbEdit->cboFont;
    cboFontSize = TbEdit->cboFontSize;
    connect(TbEdit, &ComposerToolbar::buttonClick, this, &ComposePage::TbEdit_ButtonClick);
    for (const QString& key : {u"HColor"_s, u"Color"_s}) {
        TbEdit->button(key)->installEventFilter(this);
    }
    connect(cboFont, &QComboBox::textActivated, this, &ComposePage::cboFont_Click);
    connect(cboFontSize, &QComboBox::textActivated, this, &ComposePage::cboFontSize_Click);

    dhtCompose = named(new QTextEdit(edit), u"dhtCompose"_s);
    dhtCompose->setAcceptRichText(true);
    dhtCompose->setContextMenuPolicy(Qt::CustomContextMenu);
    dhtCompose->installEventFilter(this);
    dhtCompose->viewport()->installEventFilter(this);
    connect(dhtCompose, &QTextEdit::customContextMenuRequested, this,
            [this](const QPoint& at) { MnuControls->popup(dhtCompose->viewport()->mapToGlobal(at)); });
    layout->addWidget(TbEdit);
    layout->addWidget(dhtCompose, 1);
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
    connectChoice(CboPTo, &ComposePage::CboPTo_Click);
    return preview;
}

QWidget* ComposePage::buildAttachmentTab()
{
    auto* attachment = new QWidget(G1_Tab);
    auto* layout = new QVBoxLayout(attachment);
    cboPAtTo = named(new QComboBox(attachment), u"cboPAtTo"_s);
    CboPAtIndex = named(new QComboBox(attachment), u"CboPAtIndex"_s);
    CboPAtIndex->setVisible(false);
    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(u"Preview for :"_s, attachment));
    row->addWidget(cboPAtTo, 1);
    // The clipping box sits in a sunken border of its own, so that its bars reach its edges.
    auto* border = new QFrame(attachment);
    border->setFrameShape(QFrame::StyledPanel);
    border->setFrameShadow(QFrame::Sunken);
    auto* inside = new QVBoxLayout(border);
    inside->setContentsMargins(1, 1, 1, 1);
    PicOleAt = new PageView({u"PicOleAt"_s, u"OleAtWord"_s, u"PicHSAt"_s, u"PicVSAt"_s, u"PicScrAt"_s}, border);
    inside->addWidget(PicOleAt);
    layout->addLayout(row);
    layout->addWidget(border, 1);
    connectChoice(cboPAtTo, &ComposePage::cboPAtTo_Click);
    return attachment;
}

void ComposePage::connectChoice(QComboBox* box, void (ComposePage::*handler)())
{
    // A picker's handler runs when an entry is chosen, by the user or by the program, but not
    // when the first entry added to an empty list becomes current: filling the list is no choice,
    // and would otherwise merge a preview (a whole attachment) for every filling.
    auto filling = std::make_shared<bool>(false);
    connect(box->model(), &QAbstractItemModel::rowsAboutToBeInserted, this, [filling] { *filling = true; });
    connect(box->model(), &QAbstractItemModel::rowsInserted, this, [filling] { *filling = false; });
    connect(box, &QComboBox::currentIndexChanged, this, [this, filling, handler] {
        if (!*filling) {
            (this->*handler)();
        }
    });
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
    const auto add = [this](const QString& name, const QString& caption, const QString& icon) {
        QAction* action = MnuControls->addAction(QIcon::fromTheme(icon), caption);
        action->setObjectName(name);
        return action;
    };
    connect(add(u"MnuUndo"_s, u"Undo"_s, u"edit-undo"_s), &QAction::triggered, dhtCompose, &QTextEdit::undo);
    MnuControls->addSeparator();
    connect(add(u"MnuCut"_s, u"Cut"_s, u"edit-cut"_s), &QAction::triggered, dhtCompose, &QTextEdit::cut);
    connect(add(u"MnuCopy"_s, u"Copy"_s, u"edit-copy"_s), &QAction::triggered, dhtCompose, &QTextEdit::copy);
    connect(add(u"MnuPaste"_s, u"Paste"_s, u"edit-paste"_s), &QAction::triggered, dhtCompose, &QTextEdit::paste);
    connect(add(u"MnuDelete"_s, u"Delete"_s, u"edit-delete"_s), &QAction::triggered, this,
            &ComposePage::deleteSelection);
    MnuControls->addSeparator();
    connect(add(u"MnuSelectAll"_s, u"Select All"_s, u"edit-select-all"_s), &QAction::triggered, dhtCompose,
            &QTextEdit::selectAll);
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
    const WaitCursor wait;
    cboFont->clear();
    const SettingsStore& store = SettingsStore::instance();
    const QString fontName = store.value(Keys::ComposerFontName);
    const QString fontSize = store.value(Keys::ComposerFontSize);
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
    G1_Tab->setCurrentIndex(0);
    m_initialised = true;
    dhtCompose->setFocus();
}

void ComposePage::paintColorButtons()
{
    const QColor face = palette().color(QPalette::Button);
    const bool enabled = TbEdit->isEnabled();
    TbEdit->paintColors(enabled ? picHColor : face, enabled ? picColor : face);
}

void ComposePage::DisableComposerToolbar()
{
    // The colours stay in picHColor and picColor; only their pictures take the button face.
    TbEdit->setEnabled(false);
    framColor->setVisible(false);
    paintColorButtons();
}

void ComposePage::EnableComposerToolbar()
{
    TbEdit->setEnabled(true);
    paintColorButtons();
}

bool ComposePage::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (watched == dhtCompose && type == QEvent::FocusIn) {
        dhtCompose_GotFocus();
    } else if (watched == txtSubject && type == QEvent::FocusIn) {
        DisableComposerToolbar();
    } else if (watched == dhtCompose->viewport() && type == QEvent::MouseButtonRelease) {
        dhtCompose_onclick();
    } else if ((watched == dhtCompose || watched == txtSource) && type == QEvent::KeyPress) {
        m_previewStale = true;
    } else if (type == QEvent::MouseButtonPress &&
               (watched == TbEdit->button(u"HColor"_s) || watched == TbEdit->button(u"Color"_s))) {
        const auto* press = static_cast<QMouseEvent*>(event);
        const QPoint at = static_cast<QWidget*>(watched)->mapTo(TbEdit, press->position().toPoint());
        return TbEdit_MouseDown(at.x());
    }
    return QWidget::eventFilter(watched, event);
}

void ComposePage::dhtCompose_GotFocus()
{
    framColor->setVisible(false);
    EnableComposerToolbar();
    // The remembered font holds from the first character typed.
    if (!m_fontApplied && m_initialised) {
        applyFontBoxes();
        m_fontApplied = true;
    }
}

void ComposePage::dhtCompose_onclick()
{
    m_previewStale = true;
    dhtCompose_GotFocus();
    // The boxes show the font at the caret, as the screen draws it.
    const QFontInfo shown(dhtCompose->currentCharFormat().font().resolve(dhtCompose->document()->defaultFont()));
    const QSignalBlocker fontBlocker(cboFont);
    const QSignalBlocker sizeBlocker(cboFontSize);
    cboFont->setCurrentText(shown.family());
    cboFontSize->setCurrentText(QString::number(htmlSizeOfPoints(shown.pointSizeF())));
}

void ComposePage::cboFont_Click()
{
    applyFontName(cboFont->currentText());
    dhtCompose->setFocus();
}

void ComposePage::cboFontSize_Click()
{
    applyFontSize(cboFontSize->currentText().toInt());
    dhtCompose->setFocus();
}

void ComposePage::applyFontName(const QString& name)
{
    if (name.isEmpty()) {
        return;
    }
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
    applyFontName(cboFont->currentText());
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
    const QString current = cursor.charFormat().anchorHref();
    const QString address =
        Dialogs::askText(u"Hyperlink"_s, u"URL :"_s, current.isEmpty() ? u"http://"_s : current, this);
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
    const QImage picture(path);
    if (path.isEmpty() || picture.isNull()) {
        return;
    }
    // The picture is named by "file://" and its absolute path, written as it stands (no
    // percent escapes): the mail run takes that name apart to find the file and carry it inline.
    const QString reference = u"file://"_s + QFileInfo(path).absoluteFilePath();
    dhtCompose->document()->addResource(QTextDocument::ImageResource, QUrl(reference), picture);
    QTextImageFormat image;
    image.setName(reference);
    dhtCompose->textCursor().insertImage(image);
}

void ComposePage::deleteSelection()
{
    QTextCursor cursor = dhtCompose->textCursor();
    if (cursor.hasSelection()) {
        cursor.removeSelectedText();
    } else {
        cursor.deleteChar();
    }
}

void ComposePage::TbEdit_ButtonClick(const QString& key)
{
    using Action = void (*)(ComposePage&);
    // Each toolbar key and what it does to the text; a key not listed does nothing.
    static const QHash<QString, Action> actions{
        {u"OPEN"_s,
         [](ComposePage& page) {
             page.OpenHtmlFile();
         }},
        {u"SAVE"_s,
         [](ComposePage& page) {
             page.SaveHtmlFile();
         }},
        {u"Bold"_s,
         [](ComposePage& page) {
             QTextEdit* text = page.dhtCompose;
             text->setFontWeight(text->fontWeight() >= QFont::Bold ? QFont::Normal : QFont::Bold);
         }},
        {u"Italic"_s,
         [](ComposePage& page) {
             page.dhtCompose->setFontItalic(!page.dhtCompose->fontItalic());
         }},
        {u"UnderLine"_s,
         [](ComposePage& page) {
             page.dhtCompose->setFontUnderline(!page.dhtCompose->fontUnderline());
         }},
        {u"Left"_s,
         [](ComposePage& page) {
             page.dhtCompose->setAlignment(Qt::AlignLeft);
         }},
        {u"Center"_s,
         [](ComposePage& page) {
             page.dhtCompose->setAlignment(Qt::AlignHCenter);
         }},
        {u"Right"_s,
         [](ComposePage& page) {
             page.dhtCompose->setAlignment(Qt::AlignRight);
         }},
        {u"Numbers"_s,
         [](ComposePage& page) {
             page.toggleList(QTextListFormat::ListDecimal);
         }},
        {u"Bullets"_s,
         [](ComposePage& page) {
             page.toggleList(QTextListFormat::ListDisc);
         }},
        {u"Indent"_s,
         [](ComposePage& page) {
             page.indent(1);
         }},
        {u"Outdent"_s,
         [](ComposePage& page) {
             page.indent(-1);
         }},
        {u"HColor"_s,
         [](ComposePage& page) {
             page.applyColor(u"HC"_s, page.picHColor);
         }},
        {u"Color"_s,
         [](ComposePage& page) {
             page.applyColor(u"C"_s, page.picColor);
         }},
        {u"Link"_s,
         [](ComposePage& page) {
             page.insertLink();
         }},
        {u"Picture"_s,
         [](ComposePage& page) {
             page.insertPicture();
         }},
        {u"CUT"_s,
         [](ComposePage& page) {
             page.dhtCompose->cut();
         }},
        {u"COPY"_s,
         [](ComposePage& page) {
             page.dhtCompose->copy();
         }},
        {u"PASTE"_s,
         [](ComposePage& page) {
             page.dhtCompose->paste();
         }},
        {u"UNDO"_s,
         [](ComposePage& page) {
             page.dhtCompose->undo();
         }},
        {u"REDO"_s,
         [](ComposePage& page) {
             page.dhtCompose->redo();
         }},
    };
    framColor->setVisible(false);
    if (const Action action = actions.value(key)) {
        action(*this);
    }
}

bool ComposePage::TbEdit_MouseDown(int x)
{
    if (!TbEdit->isEnabled()) {
        return false;
    }
    framColor->setVisible(false);
    // A colour button is wider than the others by its drop-down area: the part past the width
    // of "Bold" is that area.
    const int buttonWidth = TbEdit->buttonWidth(u"Bold"_s);
    const int highlight = TbEdit->buttonLeft(u"HColor"_s);
    const int font = TbEdit->buttonLeft(u"Color"_s);
    if (x > highlight + buttonWidth && x < font) {
        dropColorFrame(u"HC"_s);
        return true;
    }
    if (x > font + buttonWidth && x < TbEdit->buttonLeft(u"Link"_s)) {
        dropColorFrame(u"C"_s);
        return true;
    }
    return false;
}

void ComposePage::dropColorFrame(const QString& tag)
{
    framColor->setTag(tag);
    framColor->setAutomatic(tag == u"HC"_s ? QColor(Qt::white) : QColor(Qt::black));
    // Below its button, 500 twips to the left of it, and inside the page.
    const QToolButton* button = TbEdit->button(tag == u"HC"_s ? u"HColor"_s : u"Color"_s);
    const QPoint below = button->mapTo(this, QPoint(0, button->height()));
    framColor->adjustSize();
    const int left = qBound(0, below.x() - Twips::toPixels(500), qMax(0, width() - framColor->width()));
    framColor->move(left, below.y());
    framColor->setVisible(true);
    framColor->raise();
}

void ComposePage::applyColor(const QString& tag, const QColor& color)
{
    QTextCharFormat format;
    if (tag == u"HC"_s) {
        picHColor = color;
        format.setBackground(color);
    } else {
        picColor = color;
        format.setForeground(color);
    }
    dhtCompose->mergeCurrentCharFormat(format);
    paintColorButtons();
}

void ComposePage::lblColor_Click(int index)
{
    applyColor(framColor->tag(), framColor->color(index));
    framColor->setVisible(false);
    QCoreApplication::processEvents();
    dhtCompose->setFocus();
    QCoreApplication::processEvents();
}

void ComposePage::cmdMoreColors_Click()
{
    const bool highlight = framColor->tag() == u"HC"_s;
    const QColor color = Dialogs::chooseColor(highlight ? picHColor : picColor, this);
    if (color.isValid()) {
        applyColor(framColor->tag(), color);
    }
    framColor->setVisible(false);
    dhtCompose->setFocus();
}

void ComposePage::lblMergeFields_Click()
{
    if (G1_Tab->currentIndex() == 0) {
        m_mnuMergeFlds->popup(lblMergeFields->mapToGlobal(QPoint(0, lblMergeFields->height())));
    }
}

void ComposePage::InsertMergeField(const QString& token)
{
    // The editor inserts at the caret by itself, so the clipboard is not needed: whatever the
    // user keeps there, text or picture, stays.
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
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file.write(text.toUtf8() + '\n');
    }
}

void ComposePage::loadDocument(const QString& path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        dhtCompose->setHtml(TextDecoding::decode(file.readAll()));
    }
}

void ComposePage::writeSourceBack()
{
    // A change made in the source reaches the body only by this round trip through the file.
    writeWorkingFile(txtSource->toPlainText());
    loadDocument(AppPaths::file(u"myhtml.htm"_s));
}

void ComposePage::G1_Tab_Click(int tab)
{
    const int previous = m_previousTab;
    m_previousTab = tab;
    framColor->setVisible(false);
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
    const int current = CboPTo->currentIndex();
    switch (index) {
    case 0:
        if (TxtPScrl->text() == u"1"_s) {
            CboPTo->setCurrentIndex(0);
        } else if (current > 0) {
            CboPTo->setCurrentIndex(current - 1);
            TxtPScrl->setText(QString::number(CboPTo->currentIndex() + 1));
        }
        break;
    case 1:
        // On the last entry the step forward has nowhere to go, and the preview stays.
        if (TxtPScrl->text().toInt() < count) {
            CboPTo->setCurrentIndex(current + 1);
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
        if (TxtPScrl->text().toInt() != count) {
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
        // Also with no contact chosen the step ends as every preview does: the office suite is
        // no longer taken.
        wordlink::setWordRunning(false);
        return;
    }
    const WaitCursor wait;
    const int row = CboPAtIndex->itemText(cboPAtTo->currentIndex()).toInt();
    QImage page;
    if (const Result<QString> document = m_attachment(row); document.ok()) {
        // The office suite makes the PDF; while it works the window still paints.
        const wordlink::WordJob job;
        if (const Result<QString> pdf = wordlink::exportPdf(document.value()); pdf.ok()) {
            const qreal ratio = devicePixelRatioF();
            page = wordlink::renderFirstPage(pdf.value(), qRound(96 * ratio));
            page.setDevicePixelRatio(ratio);
        }
    }
    // A preview that could not be made leaves the box empty rather than show another contact's page.
    PicOleAt->showPage(page);
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
    loadDocument(name);
    m_previewStale = true;
}

void ComposePage::SaveHtmlFile()
{
    const QString name = Dialogs::ShowSaveDialog(u"HTML Documents (*.htm)|*.html|HTM Documents|*.htm"_s, {}, this);
    if (name.isEmpty()) {
        return;
    }
    QFile file(name);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file.write(DocumentHTML().toUtf8() + '\n');
        txtSource->setProperty("Tag", name);
    }
}
