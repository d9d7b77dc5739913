#pragma once

#include "DocumentEngine.h"

#include <QRegularExpression>
#include <QString>

// Word's find rules as a regular expression: plain text (with its ^p, ^t, ^l, ^m, ^s, ^w, ^?,
// ^#, ^$ codes) matched case-insensitively unless match case is on, whole words only when
// asked, and the wildcard syntax (? * [abc] [!a-z] {n,m} @ < > ( ) and \ escapes), which is
// case-sensitive.
namespace wordlink::WordFind {

// The expression of a find; an invalid expression when the wildcard text is malformed.
QRegularExpression expression(const QString& findText, const FindOptions& options);

// The replacement text for one hit: ^& (the found text), ^^, ^p, ^t, ^l, ^m, ^s, and with
// wildcards \1..\9 (the groups of the hit).
QString replacement(const QString& replaceWith, const QRegularExpressionMatch& hit, bool wildcards);

} // namespace wordlink::WordFind
