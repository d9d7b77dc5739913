#include "WizardMemory.h"

#include "core/SettingsKeys.h"

using namespace Qt::StringLiterals;

namespace WizardMemory {

WizardMemoryValues LoadWizardMemory(int columnCount)
{
    const SettingsStore& store = SettingsStore::instance();
    WizardMemoryValues values;
    values.wabFile = store.value(Keys::WabFilename);
    values.tabFile = store.value(Keys::TabFile);
    values.commaFile = store.value(Keys::CommaFile);
    values.mdbFile = store.value(Keys::MdbFileNameRead);
    values.password = store.value(Keys::AccessPassword);
    values.xlFile = store.value(Keys::ExcelFileName);
    values.blanks = BlankReplacers::load();
    const QString section = QString::fromLatin1(Keys::ContactsListSection);
    for (int column = 1; column <= columnCount; ++column) {
        bool ok = false;
        const int position = store.GetSetting(section, QString::number(column), QString::number(column)).toInt(&ok);
        if (!ok || position < 1 || position > columnCount) {
            return values;
        }
        values.columnPositions << position;
    }
    const QString sendMail = store.value(Keys::SendMail).toUpper();
    if (sendMail == u"SMTP"_s) {
        values.sendWay = WizardMemoryValues::SendWay::Smtp;
    } else if (sendMail == u"OUTBOX"_s) {
        values.sendWay = WizardMemoryValues::SendWay::Outbox;
    }
    return values;
}

void SaveWizardMemory(const WizardMemoryValues& values)
{
    SettingsStore& store = SettingsStore::instance();
    store.setValue(Keys::WabFilename, values.wabFile);
    store.setValue(Keys::TabFile, values.tabFile);
    store.setValue(Keys::CommaFile, values.commaFile);
    if (!values.contactFolderName.isEmpty()) {
        store.setValue(Keys::ContactsFolderName, values.contactFolderName);
        store.setValue(Keys::ContactsEntryId, values.contactEntryId);
    }
    if (!values.xlFile.isEmpty()) {
        store.setValue(Keys::ExcelFileName, values.xlFile);
        store.setValue(Keys::ExcelSheetNameWrite, values.xlSheet);
    }
    if (!values.mdbFile.isEmpty()) {
        store.setValue(Keys::MdbFileNameWrite, values.mdbFile);
        store.setValue(Keys::AccessTableName, values.tableName);
        store.setValue(Keys::AccessPassword, values.password);
    }
    values.blanks.save();
    const QString section = QString::fromLatin1(Keys::ContactsListSection);
    for (int column = 1; column <= values.columnPositions.size(); ++column) {
        store.SaveSetting(section, QString::number(column), QString::number(values.columnPositions.at(column - 1)));
    }
    if (!values.fontName.isEmpty()) {
        store.setValue(Keys::ComposerFontName, values.fontName);
    }
    if (!values.fontSize.isEmpty()) {
        store.setValue(Keys::ComposerFontSize, values.fontSize);
    }
    if (values.sendWay == WizardMemoryValues::SendWay::Smtp) {
        store.setValue(Keys::SendMail, u"SMTP"_s);
    } else if (values.sendWay == WizardMemoryValues::SendWay::Outbox) {
        store.setValue(Keys::SendMail, u"outbox"_s);
    }
}

} // namespace WizardMemory
