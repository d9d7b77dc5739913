#pragma once

#include "core/Result.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// The images of a composed mail, carried inside the message: every src value of the HTML
// becomes a cid: reference, and the files it named are read once per run.
struct EmbeddedHtml
{
    QString html;            // the trimmed HTML with its src values rewritten
    QString InlineImageList; // the image paths as found, joined by "|"
};

namespace InlineImages {

// Walks the HTML for "src" (case counts, body text too), takes the value between the next two
// double quotes, drops every "file://" from it, records it and writes src=cid:<file name>
// without quotes. A "src" with no closing quote behind it ends the walk; the rest is copied.
EmbeddedHtml Embed(const QString& html);

// The Base64 text of each listed image, one element per entry of the list: each non-empty path
// fills the next element, so an empty entry leaves an empty element at the end. A file that
// cannot be read is an error.
Result<QList<QByteArray>> LoadInlineImages(const QString& list);

// The file name of a path, behind its last "/" or "\\".
QString fileNameOf(const QString& path);

// The list split at "|".
QStringList paths(const QString& list);

} // namespace InlineImages
