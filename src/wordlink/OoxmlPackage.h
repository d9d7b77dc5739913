#pragma once

#include "core/Result.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <memory>

struct zip;

namespace wordlink {

// A Word 2007-family file: a zip package of XML parts. The whole file is held in memory; parts
// are read on demand, with a ceiling on their size so that a zip bomb or a huge entry fails the
// document instead of the program. Saving writes the original package with only the changed
// parts replaced: every other entry keeps its bytes.
class OoxmlPackage
{
public:
    static constexpr qint64 MaxFileSize = qint64(512) << 20;
    static constexpr qint64 MaxPartSize = qint64(128) << 20;

    static Result<OoxmlPackage> open(const QString& path);
    // A package over bytes already in memory (shared, never changed): several packages can be
    // made from one buffer, one for each thread that writes letters from it.
    static Result<OoxmlPackage> fromBytes(const QByteArray& bytes);

    OoxmlPackage(OoxmlPackage&&) noexcept;
    OoxmlPackage& operator=(OoxmlPackage&&) noexcept;
    ~OoxmlPackage();

    bool hasPart(const QString& name) const;
    Result<QByteArray> part(const QString& name) const;
    void setPart(const QString& name, const QByteArray& content);

    // The main part named by the package relationships, else the usual "word/document.xml".
    QString mainPartName() const;

    Status saveTo(const QString& path) const;

    // A save in two steps: the complete new file is written beside its target (`stage`), and
    // then takes the target's place in one rename (`commit`); `discard` removes a staged file that
    // is not wanted after all. The postal run stages letters on several threads and commits them
    // in contact order.
    struct Staged
    {
        QString temporary;
        QString target;
    };
    Result<Staged> stage(const QString& path) const;
    static Status commit(const Staged& staged);
    static void discard(const Staged& staged);

    // Removes what saves cut off by a killed run left in the folder: the temporary files a save
    // writes beside its document before it takes the document's place.
    static void removeUnfinishedSaves(const QString& folder);

private:
    OoxmlPackage();
    // The bytes of the package with the changed parts in place.
    Result<QByteArray> packed() const;

    struct ZipCloser
    {
        void operator()(zip* archive) const;
    };

    QByteArray m_bytes;
    std::unique_ptr<zip, ZipCloser> m_archive;
    QMap<QString, QByteArray> m_changed;
};

} // namespace wordlink
