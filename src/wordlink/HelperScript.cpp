#include "HelperScript.h"

#include "core/AppPaths.h"

#include <QFile>

using namespace Qt::StringLiterals;

static void initBridgeResource()
{
    Q_INIT_RESOURCE(bridge);
}

namespace wordlink {

namespace {

void writeOut(const QString& fileName)
{
    const QString path = AppPaths::file(fileName);
    QFile packed(u":/wordlink/"_s + fileName);
    QFile current(path);
    if (packed.open(QIODevice::ReadOnly)) {
        const QByteArray script = packed.readAll();
        if (!current.open(QIODevice::ReadOnly) || current.readAll() != script) {
            current.close();
            QFile out(path);
            if (out.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
                out.write(script);
            }
        }
    }
}

} // namespace

QString helperScript(const QString& fileName)
{
    initBridgeResource();
    // The module the helpers share is imported from beside them.
    writeOut(u"office_common.py"_s);
    writeOut(fileName);
    return AppPaths::file(fileName);
}

} // namespace wordlink
