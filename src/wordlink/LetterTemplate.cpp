#include "LetterTemplate.h"

#include "NativeDocument.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <numeric>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

// Place-holders are characters of the private use area, one per token: U+E000 for the first.
// In UTF-8 the place-holder of token i (i < 64) is EE 80 (80 + i).
constexpr char16_t FirstHolder = 0xE000;
constexpr int MostTokens = 64;
const QByteArray HolderLead = "\xEE\x80";

bool isControl(QChar c)
{
    return c.unicode() < 0x20 || (c.unicode() >= 0x7F && c.unicode() <= 0x9F);
}

// True when a place-holder stands after an unclosed "[[" and before a "]]" of its paragraph:
// there, a value could complete a token that a later replacement would find.
bool holderInsideBrackets(const QString& text)
{
    for (qsizetype at = 0; at < text.size(); ++at) {
        const char16_t c = text.at(at).unicode();
        if (c < FirstHolder || c >= FirstHolder + MostTokens) {
            continue;
        }
        qsizetype start = at;
        while (start > 0 && !isControl(text.at(start - 1))) {
            --start;
        }
        qsizetype end = at;
        while (end < text.size() && !isControl(text.at(end))) {
            ++end;
        }
        const QStringView paragraph(text);
        if (paragraph.sliced(start, at - start).contains(u"[["_s) &&
            paragraph.sliced(at + 1, end - at - 1).contains(u"]]"_s)) {
            return true;
        }
    }
    return false;
}

// The text of a value as the main part's XML holds it inside a w:t element.
QByteArray escaped(const QString& value)
{
    QByteArray bytes = value.toUtf8();
    if (bytes.contains('&') || bytes.contains('<') || bytes.contains('>')) {
        bytes.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;");
    }
    return bytes;
}

} // namespace

Result<LetterTemplate> LetterTemplate::prepare(const QString& templatePath, const QStringList& tokens,
                                               const QList<bool>& empty, const QString& letterSuffix)
{
    LetterTemplate prepared;
    prepared.m_tokens = tokens;
    prepared.m_empty = empty;
    const Result<OoxmlPackage> original = OoxmlPackage::open(templatePath);
    if (!original.ok()) {
        return original.error();
    }
    const Result<QByteArray> originalMain = original->part(original->mainPartName());
    if (!originalMain.ok()) {
        return originalMain.error();
    }
    const bool tokensPlain = std::none_of(tokens.begin(), tokens.end(), [](const QString& token) {
        return std::any_of(token.begin(), token.end(), isControl);
    });
    // The template's own text may hold the place-holder characters; such a template is merged
    // the ordinary way.
    if (tokens.size() > MostTokens || empty.size() != tokens.size() || !tokensPlain ||
        originalMain->contains(HolderLead)) {
        return prepared;
    }
    Result<std::unique_ptr<Document>> added = NativeDocument::fromTemplate(templatePath, {});
    if (!added.ok()) {
        return added.error();
    }
    Document& letter = *added.value();
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const QString holder = empty.at(i) ? QString() : QString(QChar(static_cast<char16_t>(FirstHolder + i)));
        const Result<int> replaced = letter.ReplaceAll(tokens.at(i), holder, {});
        if (!replaced.ok()) {
            return replaced.error();
        }
        prepared.m_present.append(replaced.value() > 0);
    }
    const Result<QString> text = letter.ContentText();
    if (!text.ok() || holderInsideBrackets(text.value())) {
        return prepared;
    }
    qsizetype textStart = 0;
    for (qsizetype at = 0; at < text->size(); ++at) {
        const int token = text->at(at).unicode() - FirstHolder;
        if (token >= 0 && token < tokens.size()) {
            prepared.m_textPieces.append(text->sliced(textStart, at - textStart));
            prepared.m_textHoles.append(token);
            textStart = at + 1;
        }
    }
    prepared.m_textPieces.append(text->sliced(textStart));
    // Saved as a letter is saved, so that the content types and every unchanged entry are what
    // a letter carries.
    const QTemporaryDir scratch;
    const QString saved = scratch.filePath(u"letter"_s + letterSuffix);
    if (const Status stored = letter.SaveAs(saved); !stored.ok()) {
        return stored.error();
    }
    QFile file(saved);
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{ErrorCode::CannotRead, file.errorString()};
    }
    prepared.m_package = file.readAll();
    const Result<OoxmlPackage> package = OoxmlPackage::fromBytes(prepared.m_package);
    if (!package.ok()) {
        return package.error();
    }
    prepared.m_mainPartName = package->mainPartName();
    const Result<QByteArray> main = package->part(prepared.m_mainPartName);
    if (!main.ok()) {
        return main.error();
    }
    const QByteArray& bytes = main.value();
    qsizetype pieceStart = 0;
    for (qsizetype at = bytes.indexOf(HolderLead); at >= 0 && at + 2 < bytes.size();
         at = bytes.indexOf(HolderLead, at + 1)) {
        const int token = static_cast<unsigned char>(bytes.at(at + 2)) - 0x80;
        if (token < 0 || token >= tokens.size()) {
            continue;
        }
        prepared.m_pieces.append(bytes.sliced(pieceStart, at - pieceStart));
        prepared.m_holes.append(token);
        pieceStart = at + 3;
        at += 2;
    }
    prepared.m_pieces.append(bytes.sliced(pieceStart));
    prepared.m_usable = true;
    return prepared;
}

bool LetterTemplate::fits(const QStringList& values) const
{
    if (!m_usable || values.size() != m_tokens.size()) {
        return false;
    }
    for (qsizetype i = 0; i < values.size(); ++i) {
        const QString& value = values.at(i);
        if (value.isEmpty() != m_empty.at(i)) {
            return false;
        }
        if (value.isEmpty() || !m_present.at(i)) {
            continue;
        }
        if (value.front().isSpace() || value.back().isSpace() || value.contains(u"  "_s)) {
            return false;
        }
        for (const QChar c : value) {
            if (isControl(c) || c == u'[' || c == u']' || c == u'^' || c.isSurrogate() ||
                (c.unicode() >= FirstHolder && c.unicode() < FirstHolder + MostTokens)) {
                return false;
            }
        }
    }
    return true;
}

QByteArray LetterTemplate::mainPart(const QStringList& values) const
{
    QByteArray part;
    part.reserve(std::accumulate(m_pieces.begin(), m_pieces.end(), qsizetype(0),
                                 [](qsizetype sum, const QByteArray& piece) { return sum + piece.size(); }) +
                 m_holes.size() * 32);
    for (qsizetype i = 0; i < m_holes.size(); ++i) {
        part += m_pieces.at(i);
        part += escaped(values.at(m_holes.at(i)));
    }
    part += m_pieces.constLast();
    return part;
}

QString LetterTemplate::text(const QStringList& values) const
{
    QString letterText;
    for (qsizetype i = 0; i < m_textHoles.size(); ++i) {
        letterText += m_textPieces.at(i);
        letterText += values.at(m_textHoles.at(i));
    }
    letterText += m_textPieces.constLast();
    return letterText;
}

Result<OoxmlPackage::Staged> LetterTemplate::stageLetter(const QStringList& values, const QString& path) const
{
    Result<OoxmlPackage> package = OoxmlPackage::fromBytes(m_package);
    if (!package.ok()) {
        return package.error();
    }
    if (!m_holes.isEmpty()) {
        package.value().setPart(m_mainPartName, mainPart(values));
    }
    return package->stage(path);
}

} // namespace wordlink
