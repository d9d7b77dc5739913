#pragma once

#include "core/Result.h"

#include <QColor>
#include <QWidget>

#include <array>
#include <functional>

class PageView;
class ColorFrame;
class ComposerToolbar;
class QComboBox;
class QLabel;
class QLineEdit;
class QMenu;
class QTabWidget;
class QTextEdit;
class QToolButton;
class TokenEngine;

// Page 5 of the merge wizard: the subject and the tabbed editor "G1_Tab" (Edit, Source, Mail
// Preview, Attachment Preview). The message body is at all times DocumentHTML(); the send runs
// read it from there. The toolbar acts on the selection of the editor; the recipient pickers of
// the previews are filled by the wizard.
class ComposePage : public QWidget
{
    Q_OBJECT

public:
    // Merges a contact's copy of the attachment template and gives its path, or an error.
    using AttachmentPreviewer = std::function<Result<QString>(int row)>;

    explicit ComposePage(QWidget* parent = nullptr);

    QString DocumentHTML() const;
    void setDocumentHTML(const QString& html);

    // First-time set-up: the fonts of the screen, the remembered font and size, a new document.
    void InitComposer();
    bool isInitialised() const { return m_initialised; }
    void DisableComposerToolbar();
    void EnableComposerToolbar();

    // Shows the three custom entries of the "Fields" menu with the given headings for mapped
    // sources, and hides them for the address book and the mail client's contacts.
    void PrepareFieldMenu(bool customFields, const std::array<QString, 3>& headings);
    QMenu* MnuMergeFlds() const { return m_mnuMergeFlds; }
    // The token and a tab at the caret, in the font of the boxes; the clipboard stays as it was.
    void InsertMergeField(const QString& token);

    // What the previews merge with.
    void setMergeSources(const TokenEngine* tokens, AttachmentPreviewer attachment);

    void TbEdit_ButtonClick(const QString& key);
    // A mouse press on the toolbar at x, in the toolbar's coordinates. The area right of a colour
    // button is its drop-down: a press there opens the colour frame for that colour, and the
    // press is taken (true).
    bool TbEdit_MouseDown(int x);
    void OpenHtmlFile();
    void SaveHtmlFile();
    void lblColor_Click(int index);
    void cmdMoreColors_Click();
    void lblMergeFields_Click();
    void CboPTo_Click();
    void ImgSrl_Click(int index);
    void cboPAtTo_Click();
    bool previewStale() const { return m_previewStale; }

    QLineEdit* txtSubject;
    QTabWidget* G1_Tab;
    ComposerToolbar* TbEdit;
    QComboBox* cboFont;
    QComboBox* cboFontSize;
    QLabel* lblMergeFields;
    QTextEdit* dhtCompose;
    QTextEdit* txtSource;
    QComboBox* CboPTo;
    QComboBox* CboPIndex;
    QLineEdit* TxtPScrl;
    // Backward View, Forward View, First mail preview, Last mail preview.
    std::array<QToolButton*, 4> ImgSrl;
    QTextEdit* dhtPreview;
    QComboBox* cboPAtTo;
    QComboBox* CboPAtIndex;
    PageView* PicOleAt;
    ColorFrame* framColor;
    // The current highlight and font colours, shown on the colour buttons while the toolbar works.
    QColor picColor{Qt::red};
    QColor picHColor{Qt::yellow};
    QMenu* MnuControls;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildEditTab();
    QWidget* buildPreviewTab();
    QWidget* buildAttachmentTab();
    void connectChoice(QComboBox* box, void (ComposePage::*handler)());
    void buildFieldMenu();
    void buildContextMenu();
    void paintColorButtons();
    void dropColorFrame(const QString& tag);
    void applyColor(const QString& tag, const QColor& color);
    void dhtCompose_GotFocus();
    void dhtCompose_onclick();
    void cboFont_Click();
    void cboFontSize_Click();
    void applyFontBoxes();
    void applyFontName(const QString& name);
    void applyFontSize(int htmlSize);
    void toggleList(int style);
    void indent(int step);
    void insertLink();
    void insertPicture();
    void deleteSelection();
    void loadDocument(const QString& path);
    void G1_Tab_Click(int tab);
    void writeSourceBack();
    void writeWorkingFile(const QString& text) const;

    QMenu* m_mnuMergeFlds;
    bool m_initialised = false;
    bool m_fontApplied = false;
    bool m_previewStale = false;
    int m_previousTab = 0;
    const TokenEngine* m_tokens = nullptr;
    AttachmentPreviewer m_attachment;
};
