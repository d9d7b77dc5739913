// Opens arbitrary bytes as a Word 2007 document: its text is read, a word is replaced and the
// package is saved again. Nothing may crash, whatever the package holds.
#include "wordlink/DocumentEngine.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cstdint>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QTemporaryDir folder;
    static const std::unique_ptr<wordlink::DocumentApplication> application = wordlink::NewApplication();
    const QString path = folder.filePath(u"input.docx"_s);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return 0;
    }
    file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    file.close();
    Result<std::unique_ptr<wordlink::Document>> opened = application->Open(path, false);
    if (!opened.ok()) {
        return 0;
    }
    std::unique_ptr<wordlink::Document> document = std::move(opened).value();
    document->ContentText();
    if (document->ReplaceAll(u"a"_s, u"[[b]]"_s, {}).ok()) {
        document->SaveAs(folder.filePath(u"saved.docx"_s));
    }
    return 0;
}
