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

Status installLogExtension()
{
    const QString package = logExtensionPackage();
    const QString unopkg = QStandardPaths::findExecutable(u"unopkg"_s);
    if (package.isEmpty() || unopkg.isEmpty()) {
        return Error{ErrorCode::FileMissing,
                     u"The document log's extension or the office suite's unopkg is missing."_s};
    }
    QProcess unopkgRun;
    unopkgRun.setProcessChannelMode(QProcess::MergedChannels);
    unopkgRun.start(unopkg, {u"add"_s, u"--force"_s, u"--suppress-license"_s, package});
    if (!unopkgRun.waitForFinished(120000) || unopkgRun.exitStatus() != QProcess::NormalExit ||
        unopkgRun.exitCode() != 0) {
        unopkgRun.kill();
        return Error{ErrorCode::CannotWrite, QString::fromLocal8Bit(unopkgRun.readAll()).trimmed()};
    }
    return {};
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
    const Status installed = installLogExtension();
    if (!installed.ok()) {
        MessageBoxes::information(u"The document log could not be added to LibreOffice:\n"_s +
                                  installed.error().message);
    }
}

} // namespace wordlink
