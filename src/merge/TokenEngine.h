#pragma once

#include "contacts/BlankReplacers.h"

#include <QString>

#include <functional>
#include <utility>
#include <vector>

class ContactTable;

// Turns a text that holds [[...]] tokens into the text for one contact. It owns the
// catalogue of known tokens, the scans that find which tokens a mail body or a template
// really uses, the three string passes (subject, preview, body) and the blank-value rule.
// Tokens are compared and replaced case-sensitively, every occurrence, with no escaping;
// the passes run one after another over the growing result, so a value that holds a later
// token is replaced again: the order of each pass is part of its behaviour.
//
// The token lists are kept as the wizard keeps them: texts joined by the list separator.
// The catalogue has no trailing separator; the mail and document lists end with one.
class TokenEngine
{
public:
    // One replacement inside a Word document: the token and the value that replaces it.
    using Replacement = std::pair<QString, QString>;
    // Reports the progress of the mail scan as a width from 0 to 4000.
    using ScanProgress = std::function<void(double width)>;

    explicit TokenEngine(const ContactTable& table);

    void setSourceIndex(int sourceIndex) { m_sourceIndex = sourceIndex; }
    int sourceIndex() const { return m_sourceIndex; }
    void setBlankReplacers(const BlankReplacers& replacers) { m_blanks = replacers; }

    const QString& tokenCatalog() const { return m_tokenCatalog; }
    const QString& mailTokens() const { return m_mailTokens; }
    const QString& docTokens() const { return m_docTokens; }

    // The thirteen fixed tokens in catalogue order; drops what the scans appended.
    void BuildTokenCatalog();
    // Fills the mail token list from the body HTML. Appends the three custom tokens to the
    // catalogue first, in place, so a second scan in one run lists them twice there.
    void ScanMailTokens(const QString& text, const ScanProgress& progress = {});
    // The same over the main text of the attachment template, with no progress.
    void ScanDocTokens(const QString& contentText);

    // The subject pass: first and last name, job title, company (blank rule), address, the
    // eight business fields, then the custom fields for mapped sources.
    QString MergeAllFields(int row, QString text) const;
    // The preview pass: as the subject pass with the address first.
    void MergePreviewFields(int row, QString& text) const;
    // The body pass: the tokens of the mail token list, in list order.
    QString MergeUsedTokens(int row, QString text) const;
    // Replaces one token from the row; an unknown token, the empty one included, changes nothing.
    void MergeOneToken(QString& text, const QString& token, int row) const;

    // What a send run puts in a contact's mail: the subject merged when the box holds "[[",
    // else trimmed; the body merged when the mail token list is not empty, else as it stands.
    QString mergedSubject(int row, const QString& subjectBox) const;
    QString mergedBody(int row, const QString& html) const;

    // The value of a cell for a string pass: an empty First Name, Last Name, Job Title or
    // Company Name of a mapped source gives its blank replacer, trimmed.
    QString fieldValue(int row, int cell) const;

    // Replacements inside a Word document, whose values are the row's texts as they stand.
    // The attachment of a send run: the document token list in list order.
    std::vector<Replacement> docTokenReplacements(int row) const;
    // The attachment preview and the postal letters: every field in fixed order, the address
    // first, the custom fields only for mapped sources.
    std::vector<Replacement> allFieldReplacements(int row) const;

    // "[[" + the current heading of custom cell 13, 14 or 15 + "]]".
    QString customToken(int cell) const;

private:
    QString scanTokens(const QString& text, const ScanProgress& progress);
    // The cell a token stands for, by the order of MergeOneToken, or -1.
    int cellOfToken(const QString& token) const;
    bool replaceCell(QString& text, int row, int cell, bool blankRule) const;

    const ContactTable& m_table;
    int m_sourceIndex = 0;
    BlankReplacers m_blanks;
    QString m_tokenCatalog;
    QString m_mailTokens;
    QString m_docTokens;
};
