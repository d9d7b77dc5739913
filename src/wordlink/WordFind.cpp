#include "WordFind.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace wordlink::WordFind {

namespace {

const QString WordChar = u"[\\p{L}\\p{N}_]"_s;

// A character as itself in an expression both this program's and the office suite's regular
// expressions read alike: only the metacharacters get a backslash.
QString literal(QChar c)
{
    static const QString metacharacters = u"\\^$.|?*+()[]{}"_s;
    return metacharacters.contains(c) ? u"\\"_s + c : QString(c);
}

QString plainExpression(const QString& text)
{
    QString pattern;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == u'^' && i + 1 < text.size()) {
            const QChar code = text.at(++i);
            if (code == u'p') {
                pattern += u"\\r"_s;
            } else if (code == u't') {
                pattern += u"\\t"_s;
            } else if (code == u'?') {
                pattern += u"."_s;
            } else if (code == u'#') {
                pattern += u"\\d"_s;
            } else if (code == u'$') {
                pattern += u"\\p{L}"_s;
            } else if (code == u'l') {
                pattern += u"\\x{000B}"_s; // a line break, as the text holds it
            } else if (code == u'm') {
                pattern += u"\\f"_s;
            } else if (code == u's') {
                pattern += u"\\x{00A0}"_s;
            } else if (code == u'w') {
                pattern += u"[ \\t\\x{00A0}]+"_s;
            } else if (code == u'^') {
                pattern += u"\\^"_s;
            } else {
                pattern += literal(c) + literal(code);
            }
            continue;
        }
        pattern += literal(c);
    }
    return pattern;
}

QString wildcardExpression(const QString& text, bool* valid)
{
    QString pattern;
    *valid = true;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        switch (c.unicode()) {
        case u'\\':
            if (i + 1 < text.size()) {
                pattern += literal(text.at(++i));
            } else {
                *valid = false;
            }
            break;
        case u'?':
            pattern += u"."_s;
            break;
        case u'*':
            pattern += u".*?"_s;
            break;
        case u'@':
            pattern += u"+"_s;
            break;
        case u'<':
            pattern += u"(?<!"_s + WordChar + u")(?="_s + WordChar + u")"_s;
            break;
        case u'>':
            pattern += u"(?<="_s + WordChar + u")(?!"_s + WordChar + u")"_s;
            break;
        case u'(':
        case u')':
            pattern += c;
            break;
        case u'[': {
            const qsizetype close = text.indexOf(u']', i + 1);
            if (close < 0) {
                *valid = false;
                return pattern;
            }
            QString set = text.mid(i + 1, close - i - 1);
            const bool negate = set.startsWith(u'!');
            if (negate) {
                set.remove(0, 1);
            }
            QString body;
            for (const QChar member : set) {
                body += member == u'-' ? u"-"_s : literal(member);
            }
            pattern += (negate ? u"[^"_s : u"["_s) + body + u']';
            i = close;
            break;
        }
        case u'{': {
            const qsizetype close = text.indexOf(u'}', i + 1);
            if (close < 0) {
                *valid = false;
                return pattern;
            }
            // Some locales write {n;m}.
            pattern += u'{' + text.mid(i + 1, close - i - 1).replace(u';', u',') + u'}';
            i = close;
            break;
        }
        default:
            pattern += literal(c);
            break;
        }
    }
    return pattern;
}

QRegularExpression compile(const QString& findText, const FindOptions& options)
{
    if (findText.isEmpty()) {
        return QRegularExpression(u"(?!)"_s);
    }
    if (options.matchWildcards) {
        bool valid = true;
        const QString pattern = wildcardExpression(findText, &valid);
        return valid ? QRegularExpression(pattern) : QRegularExpression(u"("_s);
    }
    QString pattern = plainExpression(findText);
    if (options.matchWholeWord) {
        pattern = u"(?<!"_s + WordChar + u")"_s + pattern + u"(?!"_s + WordChar + u")"_s;
    }
    return QRegularExpression(pattern, options.matchCase ? QRegularExpression::NoPatternOption
                                                         : QRegularExpression::CaseInsensitiveOption);
}

} // namespace

QRegularExpression expression(const QString& findText, const FindOptions& options)
{
    // A merge asks for the same dozen finds in every letter: each is compiled once.
    thread_local QHash<QString, QRegularExpression> compiled;
    const QString key =
        QString::number(int(options.matchCase) | int(options.matchWholeWord) << 1 | int(options.matchWildcards) << 2) +
        u'|' + findText;
    if (const auto known = compiled.constFind(key); known != compiled.constEnd()) {
        return known.value();
    }
    if (compiled.size() >= 512) {
        compiled.clear();
    }
    QRegularExpression made = compile(findText, options);
    made.optimize();
    compiled.insert(key, made);
    return made;
}

QString replacement(const QString& replaceWith, const QRegularExpressionMatch& hit, bool wildcards)
{
    if (!replaceWith.contains(u'^') && !(wildcards && replaceWith.contains(u'\\'))) {
        return replaceWith;
    }
    QString result;
    for (qsizetype i = 0; i < replaceWith.size(); ++i) {
        const QChar c = replaceWith.at(i);
        if (c == u'^' && i + 1 < replaceWith.size()) {
            const QChar code = replaceWith.at(++i);
            if (code == u'&') {
                result += hit.captured(0);
            } else if (code == u'p') {
                result += u'\r';
            } else if (code == u't') {
                result += u'\t';
            } else if (code == u'l') {
                result += u'\v';
            } else if (code == u'm') {
                result += u'\f';
            } else if (code == u's') {
                result += QChar(0x00A0);
            } else if (code == u'^') {
                result += u'^';
            } else {
                result += c;
                result += code;
            }
        } else if (wildcards && c == u'\\' && i + 1 < replaceWith.size()) {
            const QChar next = replaceWith.at(++i);
            result += next.isDigit() ? hit.captured(next.digitValue()) : QString(next);
        } else {
            result += c;
        }
    }
    return result;
}

} // namespace wordlink::WordFind
