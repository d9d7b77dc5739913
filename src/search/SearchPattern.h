#pragma once

#include <QString>
#include <QStringList>

// The file name rules of the search window.
namespace SearchPattern {

struct Normalized
{
    QString pattern; // "" finds nothing
    bool remember = false;
};

// What the user typed, turned into the pattern of the walk: "*.*" searches Word documents
// only ("*.Doc"); a name ending in .doc (or .docx) gets "*" in front; any other pattern with a
// dot finds nothing; a bare word w becomes "*w*.Doc".
Normalized NormalizeCriteria(const QString& text);

// Pattern matching of the "like" operator: * any run, ? one character, # one digit, [abc] and
// [!a-z] one character of (or not of) a list; letter case counts.
bool like(const QString& text, const QString& pattern);

// Whether a file name answers the walk's pattern: * and ? as wildcards, letter case ignored,
// and a three-letter extension also matching the longer ones that begin with it, so that
// "*.Doc" finds .doc and .docx.
bool matchesFileName(const QString& name, const QString& pattern);

// Whether the history should take the text: only when no entry equals it, letter case ignored.
bool shouldRemember(const QStringList& history, const QString& text);

} // namespace SearchPattern
