#include "TestSupport.h"
#include "core/FileOperations.h"
#include "explorer/DocumentListing.h"
#include "explorer/NavigationHistory.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

void write(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QByteArray read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

} // namespace

// The explorer's logic without its window: the history of addresses, the listing of a folder's
// documents, and the changes to the disk that never lose a file.
class ExplorerLogicTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void history_keepsTenAddresses_backComesAliveOneEntryLate_andForwardSkipsZero()
    {
        NavigationHistory history;
        history.PushHistory(u"a"_s);
        history.PushHistory(u"b"_s);
        QVERIFY(history.backDisabled()); // the count before this push was 1
        history.PushHistory(u"c"_s);
        QVERIFY(!history.backDisabled());
        for (int i = 4; i <= 11; ++i) {
            history.PushHistory(QString::number(i));
        }
        QCOMPARE(history.entries().size(), 10);
        QCOMPARE(history.entries().first(), u"b"_s);
        QCOMPARE(history.back().address, u"10"_s);
        QCOMPARE(history.forward().address, u"11"_s);
        QVERIFY(!history.forward().address.has_value());
        QVERIFY(history.forwardDisabled());

        // Back before the first entry selects nothing; Forward from -1 skips entry 0.
        NavigationHistory one;
        one.PushHistory(u"first"_s);
        QVERIFY(!one.back().address.has_value());
        QVERIFY(!one.back().address.has_value());
        QCOMPARE(one.HistoryPos(), -1);
        QVERIFY(one.backDisabled());
        QCOMPARE(one.forward().address, u"first"_s);
        QCOMPARE(one.HistoryPos(), 1);
        for (int i = 0; i < 4; ++i) {
            one.back();
        }
        QVERIFY(!one.forward().address.has_value());
    }

    void listing_showsWordDocumentsAsTheListHasThem()
    {
        const QString folder = m_dir.filePath(u"listing"_s);
        write(folder + u"/Letter.docx"_s, QByteArray(1500, 'x'));
        write(folder + u"/MEMO.RTF"_s, QByteArray(1536, 'x'));
        write(folder + u"/two.dots.doc"_s, QByteArray(512, 'x'));
        write(folder + u"/half.doc"_s, QByteArray(2560, 'x')); // 2.5 KB: a half goes to the even 2
        write(folder + u"/~$Letter.docx"_s, "lock");
        write(folder + u"/notes.txt"_s, "text");
        QDir(folder).mkpath(u"folder.doc"_s);
        QFile dated(folder + u"/Letter.docx"_s);
        QVERIFY(dated.open(QIODevice::ReadWrite));
        QVERIFY(dated.setFileTime(QDateTime(QDate(2026, 3, 4), QTime(15, 6, 7)), QFileDevice::FileModificationTime));
        dated.close();

        const QList<ListedDocument> documents = DocumentListing::documentsIn(folder);
        QStringList texts;
        QStringList sizes;
        for (const ListedDocument& document : documents) {
            texts << document.text;
            sizes << document.size;
        }
        QCOMPARE(texts, (QStringList{u"half"_s, u"Letter"_s, u"MEMO"_s, u"two.dots"_s}));
        QCOMPARE(sizes, (QStringList{u"2 KB"_s, u"1 KB"_s, u"2 KB"_s, u"0 KB"_s}));
        QCOMPARE(documents.at(1).modified, u"04/03/2026 03:06:07 PM"_s);
        QCOMPARE(documents.at(1).path, QDir(folder).absoluteFilePath(u"Letter.docx"_s));
        // Sizes past what a 16-bit count held are still shown.
        QCOMPARE(DocumentListing::sizeText(40LL * 1024 * 1024), u"40960 KB"_s);
        QVERIFY(DocumentListing::documentsIn(m_dir.filePath(u"no such folder"_s)).isEmpty());
    }

    void trash_keepsWhatIsDeleted_whereTheUserCanGetItBack()
    {
        const QString file = m_dir.filePath(u"trash/Old letter.doc"_s);
        write(file, "old letter");
        write(m_dir.filePath(u"trash/Old folder/inside.doc"_s), "inside");
        QVERIFY(FileOperations::moveToTrash(file).ok());
        QVERIFY(FileOperations::moveToTrash(m_dir.filePath(u"trash/Old folder"_s)).ok());
        QVERIFY(!QFile::exists(file));
        const QString trash = qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/"_s;
        QCOMPARE(read(trash + u"Old letter.doc"_s), QByteArray("old letter"));
        QCOMPARE(read(trash + u"Old folder/inside.doc"_s), QByteArray("inside"));
        const Status gone = FileOperations::moveToTrash(file);
        QVERIFY(!gone.ok());
        QVERIFY(gone.error().message.contains(u"no longer exists"_s));
    }

    void moveAndCopy_failWithAReason_andLeaveBothSidesAsTheyWere()
    {
        const QString from = m_dir.filePath(u"ops/from"_s);
        const QString to = m_dir.filePath(u"ops/to"_s);
        write(from + u"/a.doc"_s, "new a");
        write(to + u"/a.doc"_s, "old a");
        const Status taken = FileOperations::moveFile(from + u"/a.doc"_s, to);
        QVERIFY(!taken.ok());
        QVERIFY(taken.error().message.contains(u"already exists"_s));
        QCOMPARE(read(from + u"/a.doc"_s), QByteArray("new a"));
        QCOMPARE(read(to + u"/a.doc"_s), QByteArray("old a"));

        QVERIFY(FileOperations::copyFile(from + u"/a.doc"_s, to + u"/a.doc"_s).ok());
        QCOMPARE(read(to + u"/a.doc"_s), QByteArray("new a"));
        QCOMPARE(read(from + u"/a.doc"_s), QByteArray("new a"));
        QVERIFY(!FileOperations::copyFile(from + u"/gone.doc"_s, to + u"/gone.doc"_s).ok());
        QVERIFY(!QFile::exists(to + u"/gone.doc"_s));
        QVERIFY(!FileOperations::copyFile(from + u"/a.doc"_s, to + u"/no such folder/a.doc"_s).ok());

        write(from + u"/b.doc"_s, "b");
        QVERIFY(FileOperations::moveFile(from + u"/b.doc"_s, to).ok());
        QVERIFY(!QFile::exists(from + u"/b.doc"_s));
        QCOMPARE(read(to + u"/b.doc"_s), QByteArray("b"));
        // Nothing of a copy or a move is left as a temporary file.
        QCOMPARE(QDir(to).entryList(QDir::Files | QDir::Hidden), (QStringList{u"a.doc"_s, u"b.doc"_s}));
    }

    void moveToAnotherFileSystem_copiesChecksAndThenRemoves()
    {
        const QString shm = u"/dev/shm"_s;
        if (!QFileInfo(shm).isWritable() || QStorageInfo(shm).device() == QStorageInfo(m_dir.path()).device()) {
            QSKIP("no second writable file system (/dev/shm) on this machine");
        }
        QTemporaryDir other(shm + u"/quillbay-XXXXXX"_s);
        write(m_dir.filePath(u"cross/letter.doc"_s), QByteArray(300000, 'z'));
        QVERIFY(FileOperations::moveFile(m_dir.filePath(u"cross/letter.doc"_s), other.path()).ok());
        QVERIFY(!QFile::exists(m_dir.filePath(u"cross/letter.doc"_s)));
        QCOMPARE(read(other.filePath(u"letter.doc"_s)), QByteArray(300000, 'z'));
        write(m_dir.filePath(u"cross/folder/deep/x.doc"_s), "x");
        QVERIFY(FileOperations::moveFolder(m_dir.filePath(u"cross/folder"_s), other.path()).ok());
        QCOMPARE(read(other.filePath(u"folder/deep/x.doc"_s)), QByteArray("x"));
        QVERIFY(!QFileInfo::exists(m_dir.filePath(u"cross/folder"_s)));
    }

    void folders_copyWhole_moveInPlace_andNeverIntoThemselves()
    {
        const QString root = m_dir.filePath(u"folders"_s);
        write(root + u"/Reports/2025/q1.doc"_s, "q1");
        write(root + u"/Reports/.hidden"_s, "h");
        QDir().mkpath(root + u"/Archive"_s);
        QVERIFY(FileOperations::copyFolder(root + u"/Reports"_s, root + u"/Archive"_s).ok());
        QCOMPARE(read(root + u"/Archive/Reports/2025/q1.doc"_s), QByteArray("q1"));
        QCOMPARE(read(root + u"/Archive/Reports/.hidden"_s), QByteArray("h"));
        QCOMPARE(read(root + u"/Reports/2025/q1.doc"_s), QByteArray("q1"));
        // Pasted again, the copy is replaced.
        write(root + u"/Reports/2025/q1.doc"_s, "q1 again");
        QVERIFY(FileOperations::copyFolder(root + u"/Reports"_s, root + u"/Archive"_s).ok());
        QCOMPARE(read(root + u"/Archive/Reports/2025/q1.doc"_s), QByteArray("q1 again"));

        const Status inside = FileOperations::copyFolder(root + u"/Reports"_s, root + u"/Reports/2025"_s);
        QVERIFY(!inside.ok());
        QVERIFY(!QFileInfo::exists(root + u"/Reports/2025/Reports"_s));

        const Status taken = FileOperations::moveFolder(root + u"/Reports"_s, root + u"/Archive"_s);
        QVERIFY(!taken.ok());
        QVERIFY(QFileInfo::exists(root + u"/Reports/2025/q1.doc"_s));
        QDir().mkpath(root + u"/Moved"_s);
        QVERIFY(FileOperations::moveFolder(root + u"/Reports"_s, root + u"/Moved"_s).ok());
        QCOMPARE(read(root + u"/Moved/Reports/2025/q1.doc"_s), QByteArray("q1 again"));
        QVERIFY(!QFileInfo::exists(root + u"/Reports"_s));
    }
};

QTEST_GUILESS_MAIN(ExplorerLogicTest)
#include "tst_explorer_logic.moc"
