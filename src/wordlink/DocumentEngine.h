#pragma once

#include "core/Result.h"

#include <QString>

#include <memory>

// Everything the program asks of Word goes through here: a document application (a new,
// hidden instance), its documents, their main text range and the find of that range. Two
// engines stand behind it: an in-process one for the Word 2007 family (.docx, .docm, .dotx,
// .dotm) and the office suite, through a bridge, for everything else (.doc, .rtf, .odt).
// Only the main story of a document is its content: headers, footers, footnotes, comments and
// text boxes are neither read nor changed.
namespace wordlink {

// The options of a find, as Word's Find.Execute takes them. Left out, match case is off (Word's
// default); a wildcard find is case-sensitive, as in Word.
struct FindOptions
{
    bool matchCase = false;
    bool matchWholeWord = false;
    bool matchWildcards = false;
};

class Document
{
public:
    virtual ~Document() = default;

    // Path and name; a new document that was never saved has a name without a folder.
    virtual QString FullName() const = 0;
    // False while the document has changes that are not saved.
    virtual bool Saved() const = 0;
    // The text of the main story as Word gives it: paragraphs ended by CR, tabs as tabs, a page
    // break as form feed, a line break as vertical tab, table cells ended by CR and BEL.
    virtual Result<QString> ContentText() = 0;
    // Whether the main story holds the text.
    virtual Result<bool> Find(const QString& findText, const FindOptions& options) = 0;
    // Replaces every hit in the main story; the replacement takes the formatting of the run
    // where the hit begins. Gives the number of hits replaced.
    virtual Result<int> ReplaceAll(const QString& findText, const QString& replaceWith, const FindOptions& options) = 0;
    // Appends a page break and the text (paragraphs at each CR) at the end of the main story.
    virtual Status AppendPageBreakAndText(const QString& text) = 0;
    virtual Status Save() = 0;
    // Saves under another name, in the format its extension names (.doc Word 97-2003, .docx
    // Word 2007-365, .rtf, .odt, .pdf …); the document then carries that name.
    virtual Status SaveAs(const QString& path) = 0;
    // Closes without saving.
    virtual void Close() = 0;
};

class DocumentApplication
{
public:
    virtual ~DocumentApplication() = default;

    virtual Result<std::unique_ptr<Document>> Open(const QString& path, bool readOnly) = 0;
    // A new document from a template (Documents.Add): a .dotx gives a .docx document.
    virtual Result<std::unique_ptr<Document>> Add(const QString& templatePath) = 0;
    // Ends the instance; documents still open are dropped.
    virtual void Quit() = 0;
};

// A new, hidden document application.
std::unique_ptr<DocumentApplication> NewApplication();

// True for the formats of the in-process engine.
bool isNativeFormat(const QString& path);

} // namespace wordlink
