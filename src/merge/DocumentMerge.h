#pragma once

#include "core/Result.h"

#include <QString>

class TokenEngine;

namespace wordlink {
class DocumentApplication;
}

// Merging inside Word documents: the program names the token and the value, and the document
// engine replaces every occurrence in the main text (letter case as Word's find leaves it).
// The template is opened in place and never saved under its own name.
class DocumentMerge
{
public:
    DocumentMerge(wordlink::DocumentApplication& application, const TokenEngine& tokens);

    // Reads the tokens the attachment template holds into the document token list, in a
    // document application of its own, with the office-suite flag up around it.
    static Status ScanDocTokens(TokenEngine& tokens, const QString& templatePath);

    // The mail attachment of a contact: only the tokens of the document token list.
    Status MergeDocTokens(int row, const QString& templatePath, const QString& outputPath);
    // The attachment preview: every field in fixed order.
    Status MergeDocAllFields(int row, const QString& templatePath, const QString& outputPath);

    // The extension of a merged document, in its template's format: ".docx" for the Word 2007
    // family (".docm" when macros are enabled), ".doc" for a .doc or .dot template, the
    // template's own otherwise.
    static QString mergedExtension(const QString& templatePath);

    // True when writing to the target would overwrite the template itself (say, a template kept
    // in the application folder, where the personalised copy goes): the next contact would then
    // get this contact's copy, so such a merge fails instead.
    static bool isTemplateItself(const QString& target, const QString& templatePath);

private:
    template <typename Replacements>
    Status merge(const QString& templatePath, const QString& outputPath, const Replacements& replacements);

    wordlink::DocumentApplication& m_application;
    const TokenEngine& m_tokens;
};
