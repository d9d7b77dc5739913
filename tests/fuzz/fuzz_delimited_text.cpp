// Reads arbitrary bytes as a tab- and as a comma-separated contact list, with every column
// mapped: the rows never outnumber the lines, and the list with every line end (CR LF, lone CR)
// written as LF gives the same rows.
#include "contacts/DelimitedText.h"
#include "core/TextDecoding.h"

#include <cstdint>
#include <cstdlib>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text =
        TextDecoding::decode(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    QString lineFeeds = text;
    lineFeeds.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    std::array<int, 16> columns;
    for (int k = 0; k < 16; ++k) {
        columns[static_cast<size_t>(k)] = k;
    }
    for (const TextKind kind : {TextKind::Comma, TextKind::Tab}) {
        DelimitedText::firstLineColumns(text, kind);
        const std::vector<Contact> rows = DelimitedText::importRows(text, kind, false, columns);
        const std::vector<Contact> twins = DelimitedText::importRows(lineFeeds, kind, false, columns);
        if (rows.size() > static_cast<size_t>(text.count(u'\n') + text.count(u'\r') + 1) ||
            rows.size() != twins.size()) {
            std::abort();
        }
        for (size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].cells != twins[i].cells) {
                std::abort();
            }
        }
    }
    return 0;
}
