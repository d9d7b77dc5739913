#include "UserOffice.h"

#include "core/MessageBoxes.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

const QString InstallHint = u"Install the writer with a window system, for example:\n"
                            u"sudo apt install libreoffice-writer libreoffice-gtk3"_s;

OfficeLauncher& launcher()
{
    static OfficeLauncher current;
    return current;
}

} // namespace

QString visibleWriterProblem(const QString& soffice)
{
    if (soffice.isEmpty()) {
        return u"No office suite is installed, so documents cannot be shown.\n\n"_s + InstallHint;
    }
    // The program is a link into the suite's program folder, where the window plugins lie.
    const QDir folder = QFileInfo(QFileInfo(soffice).canonicalFilePath()).absoluteDir();
    if (folder.entryList({u"libvclplug_*"_s}, QDir::Files).isEmpty()) {
        return u"The office suite on this machine has no window system (it is built to work "
               u"unseen), so documents cannot be shown.\n\n"_s +
               InstallHint;
    }
    return {};
}

UserOpen openForUser(const QString& path)
{
    if (!path.isEmpty() && !QFileInfo(path).isFile()) {
        return UserOpen::NotThere;
    }
    const QStringList arguments = writerArguments(path);
    const QString couldNotStart = u"The office suite could not be started.\n\n"_s + InstallHint;
    QString problem;
    if (launcher()) {
        problem = launcher()(u"soffice"_s, arguments) ? QString() : couldNotStart;
    } else {
        const QString soffice = QStandardPaths::findExecutable(u"soffice"_s);
        problem = visibleWriterProblem(soffice);
        if (problem.isEmpty() && !QProcess::startDetached(soffice, arguments)) {
            problem = couldNotStart;
        }
    }
    if (!problem.isEmpty()) {
        MessageBoxes::information(problem);
        return UserOpen::NoWriter;
    }
    return UserOpen::Opened;
}

QStringList writerArguments(const QString& path)
{
    QStringList arguments{u"--writer"_s, u"--nologo"_s};
    if (!path.isEmpty()) {
        arguments << QFileInfo(path).absoluteFilePath();
    }
    return arguments;
}

const OfficeLauncher& officeLauncher()
{
    return launcher();
}

void setOfficeLauncher(OfficeLauncher replacement)
{
    launcher() = std::move(replacement);
}

} // namespace wordlink
