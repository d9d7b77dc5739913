#pragma once

#include <QString>

// Which names the program takes for Word documents. Two rules, each where the windows use it:
namespace wordlink {

// A name picked in a Word file dialog: it ends in "DOC" or "DOCX", in any letter case. The ending
// is read as letters, not as an extension, as the dialogs always have ("memodoc" passes).
bool endsAsWordDocument(const QString& name);

// A file the document list shows: its extension is .doc, .docx or .rtf, in any letter case.
bool isListedWordDocument(const QString& fileName);

} // namespace wordlink
