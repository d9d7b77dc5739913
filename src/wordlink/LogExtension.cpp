#include "LogExtension.h"

#include "core/MessageBoxes.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace wordlink {

QString logExtensionPackage()
{
    const QString installed =
        QCoreApplication::applicationDirPath() + u"/../share/quillbay/"_s + QStringLiteral(QUILLBAY_LOG_OXT_NAME);
    for (const QString& candidate : {installed, QStringLiteral(QUILLBAY_LOG_OXT_BUILT)}) {
        if (QFileInfo(candidate).isFile()) {
            return QFileInfo(candidate).canonicalFilePath();
        }
    }
    return {};
}

namespace {

void tellNotAdded(const QString& why)
{
    MessageBoxes::information(u"The document log could not be added to LibreOffice:\n"_s + why);
}

} // namespace

void installLogExtension()
{
    const QString package = logExtensionPackage();
    const QString unopkg = QStandardPaths::findExecutable(u"unopkg"_s);
    if (package.isEmpty() || unopkg.isEmpty()) {
        tellNotAdded(u"The document log's extension or the office suite's unopkg is missing."_s);
        return;
    }
    // unopkg can take a while (and waits for a running office suite of the user): the program
    // goes on meanwhile, and only a failure is told, once it has ended.
    auto* unopkgRun = new QProcess(QCoreApplication::instance());
    unopkgRun->setProcessChannelMode(QProcess::MergedChannels);
    QObject::connect(unopkgRun, &QProcess::finished, unopkgRun, [unopkgRun](int exitCode, QProcess::ExitStatus status) {
        if (status != QProcess::NormalExit || exitCode != 0) {
            tellNotAdded(QString::fromLocal8Bit(unopkgRun->readAll()).trimmed());
        }
        unopkgRun->deleteLater();
    });
    QObject::connect(unopkgRun, &QProcess::errorOccurred, unopkgRun, [unopkgRun](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            tellNotAdded(unopkgRun->errorString());
            unopkgRun->deleteLater();
        }
    });
    unopkgRun->start(unopkg, {u"add"_s, u"--force"_s, u"--suppress-license"_s, package});
}

void offerLogExtension()
{
    SettingsStore& store = SettingsStore::instance();
    if (store.value(Keys::LogExtensionOffered) == u"Y"_s || logExtensionPackage().isEmpty()) {
        return;
    }
    store.setValue(Keys::LogExtensionOffered, u"Y"_s);
    if (!MessageBoxes::askYesNo(u"Quillbay+ keeps a log of the last 50 Word documents you open, shown by "
                                u"View Log and the File menu.\n\nShould your own LibreOffice add the "
                                u"documents it opens to this log as well?"_s)) {
        return;
    }
    installLogExtension();
}

} // namespace wordlink
