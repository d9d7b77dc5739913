#pragma once

#include <QByteArray>
#include <QList>

// One whole reply of an SMTP server: its three-digit code and its lines, without line ends.
struct SmtpReply
{
    QByteArray code;
    QList<QByteArray> lines;

    // The lines as one line of text, for the progress page and the per-contact report.
    QByteArray text() const { return lines.join(' '); }
};

// Cuts the bytes a server sends, in whatever pieces they arrive, into whole replies. A reply
// ends with the line whose code is followed by a blank or by nothing (the "250-" lines before it
// belong to it); a line ends with LF, with or without CR before it. A line that does not begin
// with three digits, or a reply that grows past MaxReplySize without ending, makes the stream
// garbled: no reply is read from it any more.
class SmtpReplyReader
{
public:
    static constexpr qsizetype MaxReplySize = 64 * 1024;

    void feed(const QByteArray& bytes);
    bool hasReply() const { return !m_replies.isEmpty(); }
    SmtpReply takeReply() { return m_replies.takeFirst(); }
    qsizetype pendingReplies() const { return m_replies.size(); }
    bool garbled() const { return m_garbled; }
    void clear();

private:
    bool takeLine(const QByteArray& line);

    QByteArray m_partial;       // bytes of a line whose end has not come yet
    QList<QByteArray> m_lines;  // the lines of the reply under way
    qsizetype m_replyBytes = 0; // its size so far
    QList<SmtpReply> m_replies; // whole replies not yet taken
    bool m_garbled = false;
};
