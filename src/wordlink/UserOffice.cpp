#include "UserOffice.h"

#include <QFileInfo>
#include <QProcess>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

OfficeLauncher& launcher()
{
    static OfficeLauncher current;
    return current;
}

} // namespace

bool openForUser(const QString& path)
{
    if (!path.isEmpty() && !QFileInfo(path).isFile()) {
        return false;
    }
    QStringList arguments{u"--writer"_s, u"--nologo"_s};
    if (!path.isEmpty()) {
        arguments << QFileInfo(path).absoluteFilePath();
    }
    return launcher() ? launcher()(u"soffice"_s, arguments) : QProcess::startDetached(u"soffice"_s, arguments);
}

void setOfficeLauncher(OfficeLauncher replacement)
{
    launcher() = std::move(replacement);
}

} // namespace wordlink
