#include "TextSource.h"

#include "core/PlainFile.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"

using namespace Qt::StringLiterals;

namespace TextSource {

MapSection mapSection(TextKind kind)
{
    const SettingKey& key = kind == TextKind::Tab ? Keys::TabFile : Keys::CommaFile;
    return {QString::fromLatin1(key.section), QString::fromLatin1(key.key)};
}

Result<OpenedList> open(const QString& path, TextKind kind)
{
    if (PlainFile::kindOf(path) == PlainFile::Kind::Missing) {
        return Result<OpenedList>::failure(ErrorCode::FileMissing, u"File Doesn't Exists"_s);
    }
    Result<QString> text = DelimitedText::readText(path);
    if (!text.ok()) {
        return text.error();
    }
    if (text->isEmpty()) {
        return Result<OpenedList>::failure(ErrorCode::NoContacts, u"The contact list %1 holds no contacts"_s.arg(path));
    }
    OpenedList list;
    list.columns = DelimitedText::firstLineColumns(text.value(), kind);
    list.text = std::move(text).value();
    return list;
}

std::vector<Contact> readRows(const QString& path, TextKind kind, bool skipFirst, const FieldMap& map,
                              const std::function<void(int lineCount)>& lineCount,
                              const std::function<void(qsizetype lineNumber)>& afterLine)
{
    QByteArray bytes;
    const Result<QString> text = DelimitedText::readText(path, &bytes);
    if (lineCount) {
        lineCount(DelimitedText::CountFileLines(bytes));
    }
    bytes.clear();
    if (!text.ok()) {
        return {};
    }
    return DelimitedText::importRows(text.value(), kind, skipFirst, map.listIndex, afterLine);
}

void remember(TextKind kind, const QString& path, const FieldMap& map)
{
    SettingsStore::instance().setValue(kind == TextKind::Tab ? Keys::TabFile : Keys::CommaFile, path);
    FieldMapMemory::SaveMap(map, mapSection(kind).section);
}

} // namespace TextSource
