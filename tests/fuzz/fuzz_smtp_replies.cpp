// Feeds arbitrary bytes to the SMTP reply reader, whole and cut in two, and checks that both
// readings agree and that every reply it gives has a three-digit code.
#include "delivery/SmtpReplyReader.h"

#include <cstdint>
#include <cstdlib>

namespace {

QList<SmtpReply> readAll(SmtpReplyReader& reader)
{
    QList<SmtpReply> replies;
    while (reader.hasReply()) {
        replies << reader.takeReply();
    }
    return replies;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    SmtpReplyReader whole;
    whole.feed(bytes);
    SmtpReplyReader halves;
    const qsizetype middle = bytes.isEmpty() ? 0 : static_cast<qsizetype>(data[0]) % bytes.size();
    halves.feed(bytes.left(middle));
    halves.feed(bytes.mid(middle));
    const QList<SmtpReply> first = readAll(whole);
    const QList<SmtpReply> second = readAll(halves);
    if (first.size() != second.size() || whole.garbled() != halves.garbled()) {
        std::abort();
    }
    for (qsizetype i = 0; i < first.size(); ++i) {
        if (first.at(i).code != second.at(i).code || first.at(i).text() != second.at(i).text() ||
            first.at(i).code.size() != 3) {
            std::abort();
        }
    }
    return 0;
}
