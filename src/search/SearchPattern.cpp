#include "SearchPattern.h"

#include "core/TextUtil.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace SearchPattern {

namespace {

// Does pattern[p..] match text[t..]? Backtracks over "*".
bool likeFrom(const QString& text, qsizetype t, const QString& pattern, qsizetype p)
{
    while (p < pattern.size()) {
        const QChar c = pattern.at(p);
        if (c == u'*') {
            while (p < pattern.size() && pattern.at(p) == u'*') {
                ++p;
            }
            if (p == pattern.size()) {
                return true;
            }
            for (qsizetype from = t; from <= text.size(); ++from) {
                if (likeFrom(text, from, pattern, p)) {
                    return true;
                }
            }
            return false;
        }
        if (t >= text.size()) {
            return false;
        }
        if (c == u'?') {
            ++t;
            ++p;
        } else if (c == u'#') {
            if (!text.at(t).isDigit()) {
                return false;
            }
            ++t;
            ++p;
        } else if (c == u'[') {
            const qsizetype close = pattern.indexOf(u']', p + 1);
            if (close < 0) {
                return false;
            }
            QStringView list = QStringView(pattern).mid(p + 1, close - p - 1);
            const bool negate = list.startsWith(u'!');
            if (negate) {
                list = list.mid(1);
            }
            bool inList = false;
            for (qsizetype i = 0; i < list.size() && !inList; ++i) {
                if (i + 2 < list.size() && list.at(i + 1) == u'-') {
                    inList = text.at(t) >= list.at(i) && text.at(t) <= list.at(i + 2);
                    i += 2;
                } else {
                    inList = text.at(t) == list.at(i);
                }
            }
            if (inList == negate) {
                return false;
            }
            ++t;
            p = close + 1;
        } else {
            if (text.at(t) != c) {
                return false;
            }
            ++t;
            ++p;
        }
    }
    return t == text.size();
}

} // namespace

bool like(const QString& text, const QString& pattern)
{
    return likeFrom(text, 0, pattern, 0);
}

Normalized NormalizeCriteria(const QString& text)
{
    if (text == u"*.*"_s) {
        return {u"*.Doc"_s, true};
    }
    const QString upper = text.toUpper();
    if (like(upper, u"*.DOC"_s) || like(upper, u"*.DOCX"_s)) {
        return {u"*"_s + text, true};
    }
    if ((text.contains(u'*') || like(text, u"*.*"_s)) && like(upper, u"*.*"_s)) {
        return {QString(), false};
    }
    return {u"*"_s + text + u"*.Doc"_s, true};
}

namespace {

QRegularExpression fileNameMatcher(const QString& pattern)
{
    QString expression;
    for (const QChar c : pattern) {
        expression += c == u'*' ? u".*"_s : c == u'?' ? u"."_s : QRegularExpression::escape(QString(c));
    }
    const qsizetype dot = pattern.lastIndexOf(u'.');
    const QString extension = dot >= 0 ? pattern.mid(dot + 1) : QString();
    if (extension.size() == 3 && !extension.contains(u'*') && !extension.contains(u'?')) {
        expression += u"[^.]*"_s;
    }
    return QRegularExpression(QRegularExpression::anchoredPattern(expression),
                              QRegularExpression::CaseInsensitiveOption);
}

} // namespace

bool matchesFileName(const QString& name, const QString& pattern)
{
    // A walk asks with one pattern for every file: the last pattern's matcher is kept.
    thread_local QString lastPattern;
    thread_local QRegularExpression matcher;
    if (pattern != lastPattern || !matcher.isValid() || matcher.pattern().isEmpty()) {
        matcher = fileNameMatcher(pattern);
        matcher.optimize();
        lastPattern = pattern;
    }
    return matcher.match(name).hasMatch();
}

bool shouldRemember(const QStringList& history, const QString& text)
{
    const QString wanted = TextUtil::trimSpaces(text).toUpper();
    for (const QString& entry : history) {
        if (entry.toUpper() == wanted) {
            return false;
        }
    }
    return true;
}

} // namespace SearchPattern
