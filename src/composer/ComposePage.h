#pragma once

#include "core/Result.h"

#include <QColor>
#include <QWidget>

#include <array>
#include <functional>

class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QMenu;
class QScrollArea;
class QTabWidget;
class QTextEdit;
class QToolBar;
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
    // Gives the document of a contact's attachment preview (its path), or an error.
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
    void OpenHtmlFile();
    void SaveHtmlFile();
    void lblColor_Click(int index);
    void cmdMoreColors_Click();
    // The drop-down area beside a colour button: "HC" for the highlight, "C" for the font colour.
    void toggleColorFrame(const QString& tag);
    void CboPTo_Click();
    void ImgSrl_Click(int index);
    void cboPAtTo_Click();
    bool previewStale() const { return m_previewStale; }

    QLineEdit* txtSubject;
    QTabWidget* G1_Tab;
    QToolBar* TbEdit;
    QComboBox* cboFont;
    QComboBox* cboFontSize;
    QLabel* lblMergeFields;
    QTextEdit* dhtCompose;
    QTextEdit* txtSource;
    QComboBox* CboPTo;
    QComboBox* CboPIndex;
    QLineEdit* TxtPScrl;
    std::array<QToolButton*, 4> ImgSrl;
    QTextEdit* dhtPreview;
    QComboBox* cboPAtTo;
    QComboBox* CboPAtIndex;
    QScrollArea* PicOleAt;
    QLabel* OleAtWord;
    QFrame* framColor;
    std::array<QLabel*, 17> lblColor;
    QColor picColor{Qt::black};
    QColor picHColor{Qt::yellow};
    QMenu* MnuControls;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildEditTab();
    QWidget* buildPreviewTab();
    QWidget* buildAttachmentTab();
    void buildColorFrame();
    void buildFieldMenu();
    void buildContextMenu();
    QToolButton* addButton(const QString& key, const QString& icon, const QString& tip);
    void paintColorButtons();
    void dhtCompose_GotFocus();
    void dhtCompose_onclick();
    void applyFontBoxes();
    void applyFontName(const QString& name);
    void applyFontSize(int htmlSize);
    void toggleList(int style);
    void indent(int step);
    void insertLink();
    void insertPicture();
    void G1_Tab_Click(int tab);
    void writeSourceBack();
    void writeWorkingFile(const QString& text) const;
    void SizeAttachmentView();

    QMenu* m_mnuMergeFlds;
    QToolButton* m_hColorButton = nullptr;
    QToolButton* m_colorButton = nullptr;
    bool m_initialised = false;
    bool m_fontApplied = false;
    bool m_previewStale = false;
    bool m_writingFontBoxes = false;
    QString m_colorFrameTag;
    QColor m_savedColor;
    QColor m_savedHColor;
    int m_previousTab = 0;
    const TokenEngine* m_tokens = nullptr;
    AttachmentPreviewer m_attachment;
};
