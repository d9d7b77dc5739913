#include "TestSupport.h"

#include "core/SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStringList>

#include <memory>

using namespace Qt::StringLiterals;

namespace TestSupport {

namespace {

std::unique_ptr<QTemporaryDir>& userFolders()
{
    static std::unique_ptr<QTemporaryDir> folder;
    return folder;
}

} // namespace

void isolateUserFolders()
{
    userFolders() = std::make_unique<QTemporaryDir>();
    const QString base = userFolders()->path();
    for (const char* sub : {"config", "data", "cache", "home", "state"}) {
        QDir(base).mkpath(QString::fromLatin1(sub));
    }
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(base + u"/config"_s));
    qputenv("XDG_DATA_HOME", QFile::encodeName(base + u"/data"_s));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(base + u"/cache"_s));
    qputenv("XDG_STATE_HOME", QFile::encodeName(base + u"/state"_s));
    qputenv("HOME", QFile::encodeName(base + u"/home"_s));
    resetSettings();
}

QString homeFolder()
{
    return userFolders() ? userFolders()->path() + u"/home"_s : QString();
}

void resetSettings()
{
    SettingsStore& store = SettingsStore::instance();
    QFile::remove(store.filePath());
    store.reload();
}

QString fixturesDir()
{
    const QString dir = qEnvironmentVariable("QUILLBAY_FIXTURES");
    return !dir.isEmpty() && QDir(dir).exists() ? dir : QString();
}

QString ensureWriterDisplay(QProcess& server)
{
    qputenv("SAL_USE_VCLPLUGIN", "gen");
    if (!qEnvironmentVariableIsEmpty("DISPLAY")) {
        return {};
    }
    server.start(u"Xvfb"_s,
                 {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1280x900x24"_s, u"-nolisten"_s, u"tcp"_s});
    if (!server.waitForStarted(10000) || !server.waitForReadyRead(20000)) {
        return u"there is no display and no Xvfb to make one"_s;
    }
    qputenv("DISPLAY", ":" + server.readAllStandardOutput().trimmed());
    return {};
}

QString sourceDir()
{
    return qEnvironmentVariable("QUILLBAY_SOURCE_DIR");
}

namespace {

// Runs one of the fixture makers of the tests with Debian's Python.
bool runMaker(const QString& script, const QStringList& arguments)
{
    QProcess maker;
    maker.start(QString::fromLatin1(DebianPython), QStringList{sourceDir() + script} + arguments);
    const bool done =
        maker.waitForFinished(120000) && maker.exitStatus() == QProcess::NormalExit && maker.exitCode() == 0;
    if (!done) {
        qWarning("%s %s failed: %s", qPrintable(script), qPrintable(arguments.join(u' ')),
                 maker.readAllStandardError().constData());
    }
    return done;
}

} // namespace

QString accessFixture(const QString& name)
{
    const QString dir = fixturesDir();
    const QString path = dir + u"/access/"_s + name;
    return !dir.isEmpty() && QFile::exists(path) ? path : QString();
}

bool makeProtectedMdb(const QString& source, const QString& target, const QString& password)
{
    return runMaker(u"/tests/support/protect_mdb.py"_s, {source, target, password});
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString writeShellScript(const QString& path, const QByteArray& body)
{
    if (!writeFile(path, "#!/bin/sh\n" + body)) {
        return {};
    }
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

bool makeDocx(const QString& kind, const QString& path, const QString& extra)
{
    QStringList arguments{kind, path};
    if (!extra.isEmpty()) {
        arguments << extra;
    }
    return runMaker(u"/tests/support/make_docx.py"_s, arguments);
}

bool makeWorkbook(const QString& kind, const QString& path, const QStringList& extra)
{
    return runMaker(u"/tests/contacts/make_workbook.py"_s, QStringList{kind, path} + extra);
}

MessageRecorder::MessageRecorder()
{
    MessageBoxes::setPresenter([this](const Message& message) {
        m_messages << message;
        if (!m_answers.isEmpty()) {
            return m_answers.dequeue();
        }
        return message.buttons == MessageButtons::YesNo ? MessageAnswer::Yes : MessageAnswer::Ok;
    });
}

MessageRecorder::~MessageRecorder()
{
    MessageBoxes::resetPresenter();
}

QStringList MessageRecorder::texts() const
{
    QStringList result;
    for (const Message& message : m_messages) {
        result << message.text;
    }
    return result;
}

} // namespace TestSupport
