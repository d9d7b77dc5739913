#pragma once

#include "core/MessageBoxes.h"

#include <QList>
#include <QQueue>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

class QProcess;

namespace TestSupport {

// Debian's Python, which has the uno, aiosmtpd and docx modules.
inline constexpr const char* DebianPython = "/usr/bin/python3";

// Points the settings store, the application folder and the home folder of this test program
// at a fresh temporary folder. Call first thing in initTestCase().
void isolateUserFolders();
// The private home folder made by isolateUserFolders().
QString homeFolder();
// Empties the settings store (call from init()).
void resetSettings();

// The shared sample files made by other programs, or "" when that folder is absent.
QString fixturesDir();

// A sample Access database of the shared sample files ("nwind.mdb", …), or "" when absent.
QString accessFixture(const QString& name);

// Copies an Access database to target with password set in its header
// (tests/support/protect_mdb.py).
bool makeProtectedMdb(const QString& source, const QString& target, const QString& password);

// Writes the bytes to the file, making its folder first; false where that fails.
bool writeFile(const QString& path, const QByteArray& bytes);

// The file's bytes, or none where it cannot be read.
QByteArray readFile(const QString& path);

// Writes an executable shell script (its body after the "#!/bin/sh" line) and gives its path.
QString writeShellScript(const QString& path, const QByteArray& body);

// The project's source folder (for scripts the tests start).
QString sourceDir();

// A display for the office suite's visible writer: the one of the environment, else a private
// Xvfb started into `server` (ended with it). The writer uses its plain X11 plugin, which sizes
// its windows without a window manager. "" when a display is there, else why there is none.
QString ensureWriterDisplay(QProcess& server);

// Makes a Word document with python-docx (tests/support/make_docx.py): kind "letter", "plain"
// (extra: paragraphs joined by "|"), "pages" (extra: the number of pages) or "template".
bool makeDocx(const QString& kind, const QString& path, const QString& extra = {});

// Makes a workbook with openpyxl or xlwt (tests/contacts/make_workbook.py): kind "xlsx", "raw",
// "xls" (extra "--1904" for the 1904 date system) or "big" (extra: rows, columns).
bool makeWorkbook(const QString& kind, const QString& path, const QStringList& extra = {});

// Records every message box and answers it: the prepared answers first, then the box's
// first button (OK or Yes).
class MessageRecorder
{
public:
    MessageRecorder();
    ~MessageRecorder();
    MessageRecorder(const MessageRecorder&) = delete;
    MessageRecorder& operator=(const MessageRecorder&) = delete;

    void answerNext(MessageAnswer answer) { m_answers.enqueue(answer); }
    const QList<Message>& messages() const { return m_messages; }
    QStringList texts() const;
    QString lastText() const { return m_messages.isEmpty() ? QString() : m_messages.last().text; }
    void clear() { m_messages.clear(); }

private:
    QList<Message> m_messages;
    QQueue<MessageAnswer> m_answers;
};

} // namespace TestSupport

// Skips the current test with a clear reason when the shared sample files are not there.
#define QB_REQUIRE_ACCESS_FIXTURE(path, name)                                                                          \
    const QString path = TestSupport::accessFixture(QStringLiteral(name));                                             \
    do {                                                                                                               \
        if (path.isEmpty())                                                                                            \
            QSKIP("the sample database ../shared/fixtures/access/" name " is not present on this machine");            \
    } while (false)

#define QB_REQUIRE_FIXTURES()                                                                                          \
    do {                                                                                                               \
        if (TestSupport::fixturesDir().isEmpty())                                                                      \
            QSKIP("the shared sample files (../shared/fixtures) are not present on this machine");                     \
    } while (false)
