// Reads arbitrary bytes as a Windows Address Book and as a vCard file: each read ends with
// records or a reason, never holds more records than the file has room for, and reading the
// same bytes twice gives the same records.
#include "contacts/VCard.h"
#include "contacts/WabFile.h"

#include <cstdint>
#include <cstdlib>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const Result<std::vector<WabFile::Record>> records = WabFile::parse(bytes, u"fuzz.wab"_s);
    if (records.ok()) {
        const Result<std::vector<WabFile::Record>> again = WabFile::parse(bytes, u"fuzz.wab"_s);
        if (records->size() > static_cast<size_t>(bytes.size() / WabFile::RecordHeaderSize) ||
            records->size() != again->size()) {
            std::abort();
        }
        for (size_t k = 0; k < records->size(); ++k) {
            if (records->at(k).strings != again->at(k).strings) {
                std::abort();
            }
        }
    } else if (records.error().message.isEmpty()) {
        std::abort();
    }
    // Every card starts at its own line BEGIN:VCARD, eleven bytes at least.
    const Result<std::vector<VCard>> cards = VCardFile::parse(bytes, u"fuzz.vcf"_s);
    if (cards.ok() && cards->size() > static_cast<size_t>(bytes.size() / 11)) {
        std::abort();
    }
    return 0;
}
