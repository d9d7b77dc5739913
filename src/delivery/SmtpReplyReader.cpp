#include "SmtpReplyReader.h"

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

} // namespace

void SmtpReplyReader::clear()
{
    *this = SmtpReplyReader();
}

void SmtpReplyReader::feed(const QByteArray& bytes)
{
    qsizetype from = 0;
    while (!m_garbled && from < bytes.size()) {
        const qsizetype end = bytes.indexOf('\n', from);
        const qsizetype stop = end < 0 ? bytes.size() : end;
        m_partial.append(bytes.constData() + from, stop - from);
        m_replyBytes += (end < 0 ? stop : end + 1) - from; // the line end counts too
        if (m_replyBytes > MaxReplySize) {
            m_garbled = true;
            break;
        }
        if (end < 0) {
            break;
        }
        if (m_partial.endsWith('\r')) {
            m_partial.chop(1);
        }
        m_garbled = !takeLine(m_partial);
        m_partial.clear();
        from = end + 1;
    }
    if (m_garbled) {
        m_partial.clear();
        m_lines.clear();
    }
}

bool SmtpReplyReader::takeLine(const QByteArray& line)
{
    if (line.size() < 3 || !isDigit(line[0]) || !isDigit(line[1]) || !isDigit(line[2]) ||
        (line.size() > 3 && line[3] != ' ' && line[3] != '-')) {
        return false;
    }
    m_lines << line;
    if (line.size() > 3 && line[3] == '-') {
        return true;
    }
    m_replies << SmtpReply{line.left(3), m_lines};
    m_lines.clear();
    m_replyBytes = 0;
    return true;
}
