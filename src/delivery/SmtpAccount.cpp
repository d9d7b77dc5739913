#include "SmtpAccount.h"

#include "core/SettingsKeys.h"

using namespace Qt::StringLiterals;

namespace {

int numberOr(const SettingKey& key, int fallback)
{
    bool ok = false;
    const int value = SettingsStore::instance().value(key).trimmed().toInt(&ok);
    return ok ? value : fallback;
}

} // namespace

SmtpAccount& SmtpAccount::current()
{
    static SmtpAccount account;
    return account;
}

bool SmtpAccount::tlsFromTheFirstByte() const
{
    constexpr int ImplicitTlsPort = 465;
    return !noEncryption && (tls == Tls::Implicit || (tls == Tls::ByPort && port == ImplicitTlsPort));
}

SmtpAccount SmtpAccount::load()
{
    const SettingsStore& store = SettingsStore::instance();
    SmtpAccount account;
    account.server = store.value(Keys::SmtpServer);
    account.port = numberOr(Keys::SmtpPort, 25);
    account.interval = numberOr(Keys::SmtpInterval, 0);
    account.chkAth = numberOr(Keys::SmtpChkAth, 0);
    account.user = store.value(Keys::SmtpUser);
    account.pwd = store.value(Keys::SmtpPwd);
    account.fromName = store.value(Keys::SmtpFromName);
    account.fromEmail = store.value(Keys::SmtpFromEmail);
    account.replyEmail = store.value(Keys::SmtpReplyEmail);
    account.noEncryption = store.value(Keys::SmtpNoEncryption) == u"1"_s;
    account.mailsPerMinute = qMax(0, numberOr(Keys::SmtpMailsPerMinute, 0));
    return account;
}

void SmtpAccount::save() const
{
    SettingsStore& store = SettingsStore::instance();
    store.setValue(Keys::SmtpServer, server);
    store.setValue(Keys::SmtpPort, QString::number(port));
    store.setValue(Keys::SmtpInterval, QString::number(interval));
    store.setValue(Keys::SmtpChkAth, QString::number(chkAth));
    store.setValue(Keys::SmtpUser, user);
    store.setValue(Keys::SmtpPwd, pwd);
    store.setValue(Keys::SmtpFromName, fromName);
    store.setValue(Keys::SmtpFromEmail, fromEmail);
    store.setValue(Keys::SmtpReplyEmail, replyEmail);
    store.setValue(Keys::SmtpNoEncryption, noEncryption ? u"1"_s : u"0"_s);
    store.setValue(Keys::SmtpMailsPerMinute, QString::number(mailsPerMinute));
}

void LoadSmtpSettings()
{
    SmtpAccount::current() = SmtpAccount::load();
}
