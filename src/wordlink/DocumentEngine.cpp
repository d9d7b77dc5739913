#include "DocumentEngine.h"

#include "BridgeDocument.h"
#include "NativeDocument.h"
#include "OfficeBridge.h"

#include <QFileInfo>

#include <malloc.h>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

Status convertThroughSharedBridge(const QString& from, const QString& to)
{
    return BridgeDocument::convert(from, to, OfficeBridge::instance());
}

// Routes each document to the engine of its format.
class RoutingApplication : public DocumentApplication
{
public:
    Result<std::unique_ptr<Document>> Open(const QString& path, bool readOnly) override
    {
        if (isNativeFormat(path)) {
            return NativeDocument::open(path, readOnly, &convertThroughSharedBridge);
        }
        return BridgeDocument::open(path, readOnly);
    }

    Result<std::unique_ptr<Document>> Add(const QString& templatePath) override
    {
        if (isNativeFormat(templatePath)) {
            return NativeDocument::fromTemplate(templatePath, &convertThroughSharedBridge);
        }
        return BridgeDocument::fromTemplate(templatePath);
    }

    // The office suite stays warm for the next run of the program's windows.
    void Quit() override {}
};

} // namespace

bool isNativeFormat(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    return suffix == u"docx"_s || suffix == u"docm"_s || suffix == u"dotx"_s || suffix == u"dotm"_s;
}

std::unique_ptr<DocumentApplication> NewApplication()
{
    // A merge builds and drops a few hundred kilobytes for every letter. By default the heap gives
    // freed memory back to the system each time, and on a machine with several cores that costs
    // more than the letter itself; up to 16 MB is kept for the next letter instead.
    static const bool tuned = [] {
        mallopt(M_MMAP_THRESHOLD, 4 << 20);
        mallopt(M_TRIM_THRESHOLD, 16 << 20);
        return true;
    }();
    Q_UNUSED(tuned)
    return std::make_unique<RoutingApplication>();
}

} // namespace wordlink
