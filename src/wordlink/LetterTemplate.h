#pragma once

#include "OoxmlPackage.h"
#include "core/Result.h"

#include <QByteArray>
#include <QList>
#include <QStringList>

namespace wordlink {

// A letter template of the Word 2007 family made ready for a run of many letters. The template
// is opened and its tokens replaced once, in the run's order, by place-holders (or by nothing,
// for the tokens whose values are empty); the saved package is kept. A letter is then that
// package with the contact's values put in at the place-holders: no part is parsed, searched or
// serialised again, only the main part is compressed anew, and the other entries are copied as
// they are compressed. The letter's main part is byte for byte the one that opening the template
// and replacing each token with its value gives, as long as the values fit (see `fits`); a
// letter whose values do not fit is merged the ordinary way. Several threads may write letters
// from one prepared template at the same time.
class LetterTemplate
{
public:
    // `tokens` in the order they are replaced, `empty` the tokens replaced by nothing (one flag
    // for each token); `letterSuffix` the letters' extension (".docx" or ".docm"). Fails when the
    // template cannot be opened; a template whose text could let a value take part in a later
    // token (a place-holder inside an unclosed "[[" … "]]" pair) is prepared with `usable()`
    // false.
    static Result<LetterTemplate> prepare(const QString& templatePath, const QStringList& tokens,
                                          const QList<bool>& empty, const QString& letterSuffix);

    bool usable() const { return m_usable; }
    const QStringList& tokens() const { return m_tokens; }

    // True when the values (one per token) can be put in as text: the values are empty where the
    // template was prepared with nothing, and each other value of a token that the template holds
    // has no blank at either end nor two blanks in a row (these change how the text's spaces are
    // kept), and holds no control character, no "[", "]" (which could form a token) and no "^"
    // (a replace code).
    bool fits(const QStringList& values) const;

    // Writes the letter with these values beside `path` (OoxmlPackage::stage).
    Result<OoxmlPackage::Staged> stageLetter(const QStringList& values, const QString& path) const;

    // The main part of the letter with these values.
    QByteArray mainPart(const QStringList& values) const;

    // The letter's text with these values, as Document::ContentText gives it for the letter.
    QString text(const QStringList& values) const;

private:
    LetterTemplate() = default;

    bool m_usable = false;
    QStringList m_tokens;
    QList<bool> m_empty;
    QList<bool> m_present; // the template holds the token
    QByteArray m_package;  // the template saved with place-holders
    QString m_mainPartName;
    QList<QByteArray> m_pieces; // the main part cut at the place-holders
    QList<int> m_holes;         // the token of the place-holder after each piece but the last
    QStringList m_textPieces;   // the text cut at the place-holders
    QList<int> m_textHoles;
};

} // namespace wordlink
