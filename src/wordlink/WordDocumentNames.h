#pragma once

#include <QString>

// Which names the program takes for Word documents: one rule for every dialog, check and list.
namespace wordlink {

// A Word document's name: its extension is .doc or .docx, in any letter case. "Memo.DOCX" is one;
// "memodoc" and "memo.doc.txt" are not.
bool isWordDocumentName(const QString& name);

// A file the document list shows: a Word document, or an .rtf file.
bool isListedDocument(const QString& fileName);

} // namespace wordlink
