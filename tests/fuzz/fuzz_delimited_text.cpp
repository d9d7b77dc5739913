// Reads arbitrary bytes as a tab- and as a comma-separated contact list, with every column
// mapped, and checks that the rows never outnumber the lines.
#include "contacts/DelimitedText.h"
#include "core/TextDecoding.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text =
        TextDecoding::decode(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    std::array<int, 16> columns;
    for (int k = 0; k < 16; ++k) {
        columns[static_cast<size_t>(k)] = k;
    }
    for (const TextKind kind : {TextKind::Comma, TextKind::Tab}) {
        DelimitedText::firstLineColumns(text, kind);
        const std::vector<Contact> rows = DelimitedText::importRows(text, kind, false, columns);
        if (rows.size() > static_cast<size_t>(text.count(u'\n') + text.count(u'\r') + 1)) {
            std::abort();
        }
    }
    return 0;
}
