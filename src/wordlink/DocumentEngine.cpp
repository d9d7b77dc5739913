#include "DocumentEngine.h"

#include "BridgeDocument.h"
#include "NativeDocument.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

// Routes each document to the engine of its format.
class RoutingApplication : public DocumentApplication
{
public:
    Result<std::unique_ptr<Document>> Open(const QString& path, bool readOnly) override
    {
        if (isNativeFormat(path)) {
            return NativeDocument::open(path, readOnly, &BridgeDocument::convert);
        }
        return BridgeDocument::open(path, readOnly);
    }

    Result<std::unique_ptr<Document>> Add(const QString& templatePath) override
    {
        if (isNativeFormat(templatePath)) {
            return NativeDocument::fromTemplate(templatePath, &BridgeDocument::convert);
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
    return std::make_unique<RoutingApplication>();
}

} // namespace wordlink
