#include "WizardPages.h"

#include "ContactListView.h"
#include "contacts/DataSources.h"
#include "contacts/MergeFieldTable.h"
#include "core/Twips.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QStackedWidget>
#include <QStyle>
#include <QTabWidget>
#include <QTableView>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

template <typename W> W* named(W* widget, const QString& name)
{
    widget->setObjectName(name);
    return widget;
}

QString indexed(const char* name, int index)
{
    return QString::fromLatin1(name) + u'_' + QString::number(index);
}

QLabel* heading(const QString& text, QWidget* parent, const QString& name = {})
{
    auto* label = new QLabel(text, parent);
    if (!name.isEmpty()) {
        label->setObjectName(name);
    }
    QFont font = label->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.15);
    label->setFont(font);
    label->setWordWrap(true);
    return label;
}

QLabel* wrapped(const QString& text, QWidget* parent, const QString& name = {})
{
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    if (!name.isEmpty()) {
        label->setObjectName(name);
    }
    return label;
}

QToolButton* browseButton(QWidget* parent, const QString& name)
{
    auto* button = named(new QToolButton(parent), name);
    button->setText(u"..."_s);
    return button;
}

QHBoxLayout* row(std::initializer_list<QWidget*> widgets)
{
    auto* layout = new QHBoxLayout;
    for (QWidget* widget : widgets) {
        layout->addWidget(widget);
    }
    return layout;
}

// The help picture beside a "How to Create a Template?" link.
QLabel* helpPicture(QWidget* owner, const QString& name)
{
    auto* picture = named(new QLabel(owner), name);
    picture->setPixmap(
        QIcon::fromTheme(u"help-browser"_s, owner->style()->standardIcon(QStyle::SP_DialogHelpButton)).pixmap(16, 16));
    picture->setToolTip(u"Help for Creation of Template"_s);
    picture->setCursor(Qt::PointingHandCursor);
    return picture;
}

QHBoxLayout* linkRow(QLabel* picture, QLabel* link)
{
    QHBoxLayout* layout = row({picture, link});
    layout->addStretch();
    return layout;
}

} // namespace

SourcePage::SourcePage(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(u"fraFirst"_s);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading(u"Data Source"_s, this));
    layout->addWidget(new QLabel(u"Choose Contacts data type to import..."_s, this));
    auto* columns = new QHBoxLayout;
    LstDataSrc = named(new QListWidget(this), u"LstDataSrc"_s);
    LstDataSrc->setFixedWidth(Twips::toPixels(3600));
    columns->addWidget(LstDataSrc);
    panels = new QStackedWidget(this);
    columns->addWidget(panels, 1);
    layout->addLayout(columns, 1);

    for (int i = 0; i < 4; ++i) {
        FraControls[i] = named(new QFrame(panels), indexed("FraControls", i));
        FraControls[i]->setFrameShape(QFrame::StyledPanel);
        panels->addWidget(FraControls[i]);
    }

    auto* file = new QVBoxLayout(FraControls[0]);
    lblCommon = wrapped(QString(), FraControls[0], u"lblCommon"_s);
    lblWabName = named(new QLabel(u"Choose the Filename :"_s, FraControls[0]), u"lblWabName"_s);
    txtWabfile = named(new QLineEdit(FraControls[0]), u"txtWabfile"_s);
    CmdBrowseWab = browseButton(FraControls[0], u"CmdBrowseWab"_s);
    file->addWidget(lblCommon);
    file->addSpacing(12);
    file->addWidget(lblWabName);
    file->addLayout(row({txtWabfile, CmdBrowseWab}));
    file->addStretch();

    auto* folder = new QVBoxLayout(FraControls[1]);
    lblContact = named(new QLabel(u"Choose a Contact folder :"_s, FraControls[1]), u"lblContact"_s);
    txtContact = named(new QLineEdit(FraControls[1]), u"txtContact"_s);
    CmdBrowse = browseButton(FraControls[1], u"CmdBrowse"_s);
    folder->addWidget(
        wrapped(u"Import Contacts Data from Microsoft Outlook Contacts folders"_s, FraControls[1], u"lblDes"_s));
    folder->addSpacing(12);
    folder->addWidget(lblContact);
    folder->addLayout(row({txtContact, CmdBrowse}));
    folder->addStretch();

    auto* sheet = new QVBoxLayout(FraControls[2]);
    txtXlSheet = named(new QLineEdit(FraControls[2]), u"txtXlSheet"_s);
    CmdBrowseXlSheet = browseButton(FraControls[2], u"CmdBrowseXlSheet"_s);
    lblSheets = named(new QLabel(u"Choose Sheet :"_s, FraControls[2]), u"lblSheets"_s);
    cboSheets = named(new QComboBox(FraControls[2]), u"cboSheets"_s);
    // A dropdown combo: it can show a text that is no entry, such as "(No Sheets)".
    cboSheets->setEditable(true);
    cboSheets->setInsertPolicy(QComboBox::NoInsert);
    sheet->addWidget(wrapped(u"Import Contacts Data from Microsoft Excel .xls file"_s, FraControls[2], u"lblXl"_s));
    sheet->addSpacing(12);
    sheet->addWidget(named(new QLabel(u"Choose the Filename :"_s, FraControls[2]), u"lblExProcess"_s));
    sheet->addLayout(row({txtXlSheet, CmdBrowseXlSheet}));
    sheet->addWidget(lblSheets);
    sheet->addWidget(cboSheets);
    sheet->addStretch();

    auto* database = new QVBoxLayout(FraControls[3]);
    txtMdbFile = named(new QLineEdit(FraControls[3]), u"txtMdbFile"_s);
    CmdBrowseMdbFile = browseButton(FraControls[3], u"CmdBrowseMdbFile"_s);
    chkPassWd = named(new QCheckBox(u"Password (If Required) : "_s, FraControls[3]), u"chkPassWd"_s);
    txtPassword = named(new QLineEdit(FraControls[3]), u"txtPassword"_s);
    txtPassword->setEchoMode(QLineEdit::Password);
    txtPassword->setEnabled(false);
    lbltable = named(new QLabel(u"Choose the Table Name :"_s, FraControls[3]), u"lbltable"_s);
    CboTable = named(new QComboBox(FraControls[3]), u"CboTable"_s);
    database->addWidget(
        wrapped(u"Import Contacts Data from Microsoft Access .mdb file"_s, FraControls[3], u"Label20"_s));
    database->addSpacing(12);
    database->addWidget(named(new QLabel(u"Choose the Filename :"_s, FraControls[3]), u"Label21"_s));
    database->addLayout(row({txtMdbFile, CmdBrowseMdbFile}));
    database->addLayout(row({chkPassWd, txtPassword}));
    database->addWidget(lbltable);
    database->addWidget(CboTable);
    database->addStretch();
}

FieldMapPage::FieldMapPage(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(u"fraFieldMap"_s);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading(u"Map the Fields"_s, this));
    auto* grid = new QGridLayout;
    grid->setVerticalSpacing(2);
    grid->addWidget(heading(u"Available Fields"_s, this), 0, 0);
    grid->addWidget(heading(u"Mapped To"_s, this), 0, 1);
    grid->addWidget(heading(u"Blank Field Replacer"_s, this), 0, 2);
    const auto& fields = MergeFieldTable::standardFields();
    for (int i = 0; i < MergeFieldTable::StandardCount; ++i) {
        lblField[i] = named(new QLabel(QString::fromUtf16(fields[i].mapLabel), this), indexed("lblField", i));
        grid->addWidget(lblField[i], i + 1, 0);
    }
    for (int i = 0; i < MergeFieldTable::CellCount; ++i) {
        CboField[i] = named(new QComboBox(this), indexed("CboField", i));
        CboField[i]->setEditable(true);
        CboField[i]->setInsertPolicy(QComboBox::NoInsert);
        // Typed text stays text: no completion, and Enter picks a column only when the text is
        // one letter for letter (Qt's default completer matches regardless of case).
        CboField[i]->setCompleter(nullptr);
        CboField[i]->setMinimumWidth(Twips::toPixels(2800));
    }
    for (int i = 0; i < MergeFieldTable::StandardCount; ++i) {
        grid->addWidget(CboField[i], i + 1, 1);
    }
    for (int k = 0; k < 4; ++k) {
        TxtBlank[k] = named(new QLineEdit(this), indexed("TxtBlank", k));
        grid->addWidget(TxtBlank[k], k + 1, 2);
    }
    const int customRow = MergeFieldTable::StandardCount + 1;
    grid->addWidget(heading(u"Map Custom Fields"_s, this), customRow, 0, 1, 2);
    for (int k = 0; k < 3; ++k) {
        txtCustom[k] = named(new QLineEdit(this), indexed("txtCustom", k));
        grid->addWidget(txtCustom[k], customRow + 1 + k, 0);
        grid->addWidget(CboField[MergeFieldTable::FirstCustomCell + k], customRow + 1 + k, 1);
    }
    ChkSkip = named(new QCheckBox(u"Skip First Row"_s, this), u"ChkSkip"_s);
    CmdDefault = named(new QPushButton(u"Default Map"_s, this), u"CmdDefault"_s);
    CmdClear = named(new QPushButton(u"Clear Map"_s, this), u"CmdClear"_s);
    auto* side = new QVBoxLayout;
    side->addWidget(ChkSkip);
    side->addWidget(CmdDefault);
    side->addWidget(CmdClear);
    side->addStretch();
    grid->addLayout(side, customRow, 2, 4, 1);
    grid->setColumnStretch(1, 3);
    grid->setColumnStretch(2, 2);
    layout->addLayout(grid);
    layout->addStretch();
}

ContactsPage::ContactsPage(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(u"fraContacts"_s);
    auto* layout = new QVBoxLayout(this);
    lblConTitle = heading(u"Select Contacts to Organize Email/Postal mail merge"_s, this, u"lblConTitle"_s);
    lblTopContacts = named(new QLabel(this), u"lblTopContacts"_s);
    LsvSelection = named(new ContactListView(this), u"LsvSelection"_s);
    LsvSelection->setSelectionBehavior(QAbstractItemView::SelectRows);
    LsvSelection->setSelectionMode(QAbstractItemView::ExtendedSelection);
    LsvSelection->setAlternatingRowColors(true);
    LsvSelection->verticalHeader()->setVisible(false);
    LsvSelection->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    LsvSelection->horizontalHeader()->setSectionsMovable(true);
    LsvSelection->horizontalHeader()->setSectionsClickable(true);
    LsvSelection->horizontalHeader()->setSortIndicatorShown(false);
    LsvSelection->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    LsvSelection->horizontalHeader()->setDefaultSectionSize(Twips::toPixels(1440));
    LsvSelection->setWordWrap(false);
    lblSel = named(new QLabel(u"<a href='#'>Select/UnSelect All</a>"_s, this), u"lblSel"_s);
    lblSel->setTextInteractionFlags(Qt::LinksAccessibleByMouse);
    auto* top = new QHBoxLayout;
    top->addWidget(lblTopContacts);
    top->addStretch();
    top->addWidget(lblSel);
    layout->addWidget(lblConTitle);
    layout->addLayout(top);
    layout->addWidget(LsvSelection, 1);
}

TemplatePage::TemplatePage(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(u"fraTemplate"_s);
    auto* layout = new QVBoxLayout(this);

    const auto templateRow = [this](int i, QWidget* owner) {
        txtTemplate[i] = named(new QLineEdit(owner), indexed("txtTemplate", i));
        CmdBrowseTemplate[i] = named(new QPushButton(u"Browse"_s, owner), indexed("CmdBrowseTemplate", i));
        CmdEdit[i] = named(new QPushButton(u"Edit"_s, owner), indexed("CmdEdit", i));
        CmdNewTemplate[i] = named(new QPushButton(u"New"_s, owner), indexed("CmdNewTemplate", i));
        CmdNewTemplate[i]->setFlat(true);
        lblLink[i] = named(new QLabel(owner), indexed("lblLink", i));
        lblLink[i]->setToolTip(u"Help for Creation of Template"_s);
        lblLink[i]->installEventFilter(this);
        showLink(lblLink[i]);
        return row({txtTemplate[i], CmdBrowseTemplate[i], CmdEdit[i], CmdNewTemplate[i]});
    };

    FraAttachment = named(new QFrame(this), u"FraAttachment"_s);
    FraAttachment->setFrameShape(QFrame::StyledPanel);
    auto* mail = new QVBoxLayout(FraAttachment);
    ChkMailMerge = named(new QCheckBox(u"Email Merge"_s, FraAttachment), u"ChkMailMerge"_s);
    ChkAttachment = named(new QCheckBox(u"Word Document Attachment"_s, FraAttachment), u"ChkAttachment"_s);
    Label1 = named(new QLabel(u"To take the Template file as "_s, FraAttachment), u"Label1"_s);
    mail->addWidget(ChkMailMerge);
    mail->addWidget(wrapped(u"Email Merge - Organize Personalized Email News Letter by Merging Contacts with the "
                            u"Message.Click Next to Compose a Merged Email Newsletter using Quillbay+ Composer."_s,
                            FraAttachment, u"Label3"_s));
    mail->addWidget(ChkAttachment);
    mail->addWidget(wrapped(u"Send Merged Micosoft Word document as an Attachment File to an Email."_s, FraAttachment,
                            u"Label13"_s));
    mail->addWidget(Label1);
    mail->addLayout(templateRow(0, FraAttachment));
    Image5 = helpPicture(FraAttachment, u"Image5"_s);
    mail->addLayout(linkRow(Image5, lblLink[0]));

    FraWdAtt = named(new QFrame(this), u"FraWdAtt"_s);
    FraWdAtt->setFrameShape(QFrame::StyledPanel);
    auto* postal = new QVBoxLayout(FraWdAtt);
    ChkPostalMerge = named(new QCheckBox(u"Postal Merge"_s, FraWdAtt), u"ChkPostalMerge"_s);
    label9 = named(new QLabel(u"To take the Template file as "_s, FraWdAtt), u"label9"_s);
    Label10 = named(new QLabel(u"How the document should be saved ?"_s, FraWdAtt), u"Label10"_s);
    OptDocs[0] = named(new QRadioButton(u"Save as a single document"_s, FraWdAtt), u"OptDocs_0"_s);
    OptDocs[1] = named(new QRadioButton(u"Save documents individually"_s, FraWdAtt), u"OptDocs_1"_s);
    lblDocs = named(new QLabel(u"Where the merged document should be saved ?"_s, FraWdAtt), u"lblDocs"_s);
    txtDocs = named(new QLineEdit(FraWdAtt), u"txtDocs"_s);
    cmdBrowseDoc = named(new QPushButton(u"Browse"_s, FraWdAtt), u"cmdBrowseDoc"_s);
    postal->addWidget(ChkPostalMerge);
    postal->addWidget(wrapped(u"Postall Merge - Organize Personalized Postal News Letter by Merging Contacts Data with "
                              u"the Message.After completion you can print the personalized word documents for "
                              u"postage."_s,
                              FraWdAtt, u"Label4"_s));
    postal->addWidget(label9);
    postal->addLayout(templateRow(1, FraWdAtt));
    Image1 = helpPicture(FraWdAtt, u"Image1"_s);
    postal->addLayout(linkRow(Image1, lblLink[1]));
    postal->addWidget(Label10);
    postal->addLayout(row({OptDocs[0], OptDocs[1]}));
    postal->addWidget(lblDocs);
    postal->addLayout(row({txtDocs, cmdBrowseDoc}));

    lblLoad = named(new QLabel(u"Reading Fields..."_s, this), u"lblLoad"_s);
    lblLoad->setVisible(false);
    layout->addWidget(FraAttachment);
    layout->addWidget(FraWdAtt);
    layout->addWidget(lblLoad);
    layout->addStretch();
}

void TemplatePage::showLink(QLabel* link)
{
    // A disabled link is grey like the labels around it, not in the colour of a live one.
    const QString colour =
        link->isEnabled()
            ? QString()
            : u" style='color:%1'"_s.arg(link->palette().color(QPalette::Disabled, QPalette::WindowText).name());
    link->setText(u"<a href='#template'%1>How to Create a Template?</a>"_s.arg(colour));
}

bool TemplatePage::eventFilter(QObject* watched, QEvent* event)
{
    for (QLabel* link : lblLink) {
        if (watched == link && event->type() == QEvent::EnabledChange) {
            showLink(link);
        }
    }
    return QWidget::eventFilter(watched, event);
}

SendPage::SendPage(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(u"SSSendMailPage"_s);
    auto* layout = new QVBoxLayout(this);
    SSSendMail = named(new QTabWidget(this), u"SSSendMail"_s);
    auto* tab = new QWidget(SSSendMail);
    auto* inner = new QVBoxLayout(tab);
    OptOutbox = named(new QRadioButton(u"Send Mail(s) via Outlook Outbox."_s, tab), u"OptOutbox"_s);
    OptSMTP = named(new QRadioButton(u"Send Mail(s) via Quillbay+ SMTP."_s, tab), u"OptSMTP"_s);
    CmdSMTP = named(new QPushButton(u"SMTP Settings"_s, tab), u"CmdSMTP"_s);
    inner->addWidget(wrapped(u"You may send the Mail(s) to the selected contact(s) from anyone of the following two "
                             u"options."_s,
                             tab, u"Label6"_s));
    inner->addSpacing(8);
    inner->addWidget(OptOutbox);
    QHBoxLayout* smtpRow = row({OptSMTP, CmdSMTP});
    smtpRow->addStretch();
    inner->addLayout(smtpRow);
    inner->addSpacing(16);
    auto* summary = new QFormLayout;
    Label5[0] = named(new QLabel(u"Selected File :"_s, tab), u"Label5_0"_s);
    Label5[1] = named(new QLabel(u"Selected Contact(s) :"_s, tab), u"Label5_1"_s);
    for (int i = 0; i < 2; ++i) {
        txtselected[i] = named(new QLineEdit(tab), indexed("txtselected", i));
        txtselected[i]->setReadOnly(true);
        summary->addRow(Label5[i], txtselected[i]);
    }
    inner->addLayout(summary);
    inner->addSpacing(8);
    ChkResume = named(new QCheckBox(tab), u"ChkResume"_s);
    ChkResume->setVisible(false);
    inner->addWidget(ChkResume);
    CmdTestSend = named(new QPushButton(u"Send a test to myself"_s, tab), u"CmdTestSend"_s);
    CmdTestSend->setToolTip(u"Sends the highlighted contact's mail to your own address only."_s);
    inner->addWidget(CmdTestSend, 0, Qt::AlignLeft);
    inner->addStretch();
    SSSendMail->addTab(tab, u"Send Mail(s)"_s);
    layout->addWidget(SSSendMail);
}

FinishPage::FinishPage(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(u"FinishTabPage"_s);
    auto* layout = new QVBoxLayout(this);
    FinishTab = named(new QTabWidget(this), u"FinishTab"_s);
    auto* tab = new QWidget(FinishTab);
    auto* inner = new QVBoxLayout(tab);
    lblheader = heading(QString(), tab, u"lblheader"_s);
    lblSendFolder = named(new QLabel(tab), u"lblSendFolder"_s);
    lblstatus = named(new QLabel(tab), u"lblstatus"_s);
    lblSendProcess = named(new QLabel(tab), u"lblSendProcess"_s);
    auto* track = new QFrame(tab);
    track->setFrameShape(QFrame::Box);
    track->setFixedSize(Twips::toPixels(7500) + 2, 20);
    Pbr = named(new QFrame(track), u"Pbr"_s);
    Pbr->setStyleSheet(u"background: palette(highlight);"_s);
    Pbr->setGeometry(1, 1, 0, 18);
    CmdCancelSend = named(new QPushButton(u"Cancel"_s, tab), u"CmdCancelSend"_s);
    CmdCancelSend->setEnabled(false);
    PicOpen = named(new QWidget(tab), u"PicOpen"_s);
    auto* open = new QHBoxLayout(PicOpen);
    ImgDoc = named(new QLabel(PicOpen), u"ImgDoc"_s);
    ImgDoc->setPixmap(QIcon::fromTheme(u"x-office-document"_s).pixmap(32, 32));
    ImgDoc->setCursor(Qt::PointingHandCursor);
    lblOpenDoc = named(new QLabel(u"Open Created Merged Document"_s, PicOpen), u"lblOpenDoc"_s);
    lblOpenDoc->setCursor(Qt::PointingHandCursor);
    open->addWidget(ImgDoc);
    open->addWidget(lblOpenDoc);
    open->addStretch();
    PicOpen->setVisible(false);
    inner->addWidget(lblheader);
    inner->addSpacing(10);
    inner->addWidget(lblSendFolder);
    inner->addWidget(lblstatus);
    inner->addWidget(lblSendProcess);
    inner->addWidget(track);
    inner->addWidget(CmdCancelSend, 0, Qt::AlignLeft);
    lblCounts = named(new QLabel(tab), u"lblCounts"_s);
    lblCounts->setOpenExternalLinks(true);
    lblCounts->setVisible(false);
    inner->addWidget(lblCounts);
    inner->addWidget(PicOpen);
    inner->addStretch();
    FinishTab->addTab(tab, u"Send Mail"_s);
    layout->addWidget(FinishTab);
}

void FinishPage::showDeliveryReport(const QString& counts, const QString& journal)
{
    lblCounts->setText(journal.isEmpty() ? counts
                                         : u"%1 &nbsp; <a href=\"%2\">Delivery report</a>"_s.arg(
                                               counts.toHtmlEscaped(), QUrl::fromLocalFile(journal).toString()));
    lblCounts->setVisible(true);
}

void FinishPage::setProgress(double fraction)
{
    m_progress = fraction;
    Pbr->resize(Twips::toPixels(7500.0 * qBound(0.0, fraction, 1.0)), Pbr->height());
}
