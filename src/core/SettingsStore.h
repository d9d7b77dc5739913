#pragma once

#include <QString>

#include <memory>

class QSettings;

// One declared setting: its section, its key and the default that a missing key gives.
// Every fixed key of the program is declared once, in SettingsKeys.h, and read through it.
struct SettingKey
{
    const char* section;
    const char* key;
    const char* defaultValue;
};

// The per-user store of durable preferences: a root ("Quillbay"), sections and keys, every
// value text. Section and key names are compared without regard to case, so a key written
// as "MDBFileName" is read back as "MDBFilename". A missing key gives the caller's default,
// and nothing is ever reported. The store is an INI file under $XDG_CONFIG_HOME/Quillbay/,
// readable by its owner only, since passwords are kept in it in clear.
class SettingsStore
{
public:
    // The store of this user, opened on first use.
    static SettingsStore& instance();

    explicit SettingsStore(const QString& filePath);
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    QString GetSetting(const QString& section, const QString& key, const QString& defaultValue = {}) const;
    void SaveSetting(const QString& section, const QString& key, const QString& value);

    QString value(const SettingKey& setting) const;
    void setValue(const SettingKey& setting, const QString& value);

    QString filePath() const { return m_filePath; }

    // Drops what is held in memory and reads the file again (tests remove the file between cases).
    void reload();

    static QString defaultFilePath();

private:
    QString existingGroup(const QString& section) const;
    QString existingKey(const QString& group, const QString& key) const;
    void persist();

    QString m_filePath;
    std::unique_ptr<QSettings> m_settings;
};

inline QString GetSetting(const QString& section, const QString& key, const QString& defaultValue = {})
{
    return SettingsStore::instance().GetSetting(section, key, defaultValue);
}

inline void SaveSetting(const QString& section, const QString& key, const QString& value)
{
    SettingsStore::instance().SaveSetting(section, key, value);
}
