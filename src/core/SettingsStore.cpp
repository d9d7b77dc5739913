#include "SettingsStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QStringList>

using namespace Qt::StringLiterals;

SettingsStore& SettingsStore::instance()
{
    static SettingsStore store(defaultFilePath());
    return store;
}

QString SettingsStore::defaultFilePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u"/Quillbay/Quillbay.ini"_s;
}

SettingsStore::SettingsStore(const QString& filePath)
    : m_filePath(filePath)
{
    reload();
}

SettingsStore::~SettingsStore() = default;

void SettingsStore::reload()
{
    m_settings.reset();
    m_settings = std::make_unique<QSettings>(m_filePath, QSettings::IniFormat);
}

QString SettingsStore::existingGroup(const QString& section) const
{
    const QStringList groups = m_settings->childGroups();
    for (const QString& group : groups) {
        if (group.compare(section, Qt::CaseInsensitive) == 0) {
            return group;
        }
    }
    return {};
}

QString SettingsStore::existingKey(const QString& group, const QString& key) const
{
    m_settings->beginGroup(group);
    const QStringList keys = m_settings->childKeys();
    m_settings->endGroup();
    for (const QString& existing : keys) {
        if (existing.compare(key, Qt::CaseInsensitive) == 0) {
            return existing;
        }
    }
    return {};
}

QString SettingsStore::GetSetting(const QString& section, const QString& key, const QString& defaultValue) const
{
    const QString group = existingGroup(section);
    if (group.isEmpty()) {
        return defaultValue;
    }
    const QString storedKey = existingKey(group, key);
    if (storedKey.isEmpty()) {
        return defaultValue;
    }
    const QVariant stored = m_settings->value(group + u'/' + storedKey);
    // A hand-edited value with an unquoted comma comes back from the INI reader as a list.
    if (stored.typeId() == QMetaType::QStringList) {
        return stored.toStringList().join(u',');
    }
    return stored.toString();
}

void SettingsStore::SaveSetting(const QString& section, const QString& key, const QString& value)
{
    QString group = existingGroup(section);
    if (group.isEmpty()) {
        group = section;
    }
    QString storedKey = existingKey(group, key);
    if (storedKey.isEmpty()) {
        storedKey = key;
    }
    m_settings->setValue(group + u'/' + storedKey, value);
    persist();
}

QString SettingsStore::value(const SettingKey& setting) const
{
    return GetSetting(QString::fromLatin1(setting.section), QString::fromLatin1(setting.key),
                      QString::fromLatin1(setting.defaultValue));
}

void SettingsStore::setValue(const SettingKey& setting, const QString& value)
{
    SaveSetting(QString::fromLatin1(setting.section), QString::fromLatin1(setting.key), value);
}

void SettingsStore::persist()
{
    // Written at once: the Word status flag is read by watchers outside the program.
    const QFileInfo info(m_filePath);
    QDir().mkpath(info.absolutePath());
    QFile::setPermissions(info.absolutePath(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_settings->sync();
    QFile::setPermissions(m_filePath, QFile::ReadOwner | QFile::WriteOwner);
}
