#pragma once

#include <QString>

// The user's SMTP account: server, port, reply timeout, login and sender. Read once at
// program start (and again when the merge wizard loads) into the one shared instance; the
// settings dialog changes it, and a send run reads it at each use.
struct SmtpAccount
{
    QString server;
    int port = 25;
    int interval = 0; // seconds a reply is awaited; 0 waits without end
    int chkAth = 0;   // 1: log in with AUTH LOGIN
    QString user;
    QString pwd;
    QString fromName;
    QString fromEmail;
    QString replyEmail;
    int mailsPerMinute = 0;    // the pace of a send run; 0 sends without a pause
    bool noEncryption = false; // STARTTLS and implicit TLS turned off for this server
    // How an encrypting connection is made; not stored (the command-line companion's --tls):
    // TLS from the first byte on port 465 and STARTTLS when the server offers it, STARTTLS
    // required, or TLS from the first byte on any port.
    enum class Tls
    {
        ByPort,
        StartTls,
        Implicit
    };
    Tls tls = Tls::ByPort;

    // True when the connection speaks TLS from its first byte rather than starting plain.
    bool tlsFromTheFirstByte() const;

    // The shared account of the running program.
    static SmtpAccount& current();

    // Reads the section "SMTP" in the order of its keys; an unreadable number keeps its default.
    static SmtpAccount load();
    // Saves every key in the same order.
    void save() const;
};

// Fills the shared account from the store.
void LoadSmtpSettings();
