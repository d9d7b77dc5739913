#pragma once

#include <QByteArray>
#include <QRandomGenerator>
#include <QtEndian>

// Damages the bytes in one to four places, each by one of: a byte replaced, a 32-bit word
// overwritten, a span removed, a run of one byte inserted, the rest cut off. New bytes come from
// `alphabet` where one is given, else any byte.
inline QByteArray mutated(QByteArray bytes, QRandomGenerator& random, QByteArrayView alphabet = {})
{
    const auto pick = [&random, alphabet] {
        return alphabet.isEmpty() ? char(random.bounded(256)) : alphabet[random.bounded(int(alphabet.size()))];
    };
    for (int change = 0, changes = 1 + random.bounded(4); change < changes && !bytes.isEmpty(); ++change) {
        const qsizetype at = random.bounded(bytes.size());
        switch (random.bounded(5)) {
        case 0:
            bytes[at] = pick();
            break;
        case 1:
            if (at + 4 <= bytes.size()) {
                qToLittleEndian(random.generate(), bytes.data() + at);
            }
            break;
        case 2:
            bytes.remove(at, random.bounded(1, 12));
            break;
        case 3:
            bytes.insert(at, QByteArray(random.bounded(1, 9), pick()));
            break;
        default:
            bytes.truncate(at);
        }
    }
    return bytes;
}
