#pragma once

#include "SettingsStore.h"

// Every fixed key of the store, with its section and default, declared once.
// Keys built at run time (the field map's "0".."15CD", the contact list's column
// positions "1".."16") are formed by their owners from the section names below.
namespace Keys {

// Main window.
inline constexpr SettingKey MainLeft{"FileList", "MainLeft", "780"};
inline constexpr SettingKey MainTop{"FileList", "MainTop", "1000"};
inline constexpr SettingKey MainWidth{"FileList", "MainWidth", "10600"};
inline constexpr SettingKey MainHeight{"FileList", "MainHeight", "6500"};
inline constexpr SettingKey ListHeight{"FileList", "lvListHeight", "3500"};
inline constexpr SettingKey SplitterLeft{"FileList", "imgSplLeft", "0"};
inline constexpr SettingKey ListSplitterTop{"FileList", "picSplLstTop", "0"};
inline constexpr SettingKey AddressBarFile{"FileList", "AddressBarFile", ""};
inline constexpr SettingKey DocName{"FileList", "DocName", ""};
inline constexpr SettingKey ViewMode{"FileList", "ViewMode", ""};

// Welcome window: "1" hides it at start.
inline constexpr SettingKey Flash{"Installation", "Flash", "0"};

// "Y" while the program drives the office suite, else "N"; published for outside watchers.
inline constexpr SettingKey WordRunning{"WordStatus", "Running", ""};
// "Y" once the user was asked whether the user's own office suite should write the document log.
inline constexpr SettingKey LogExtensionOffered{"WordStatus", "LogExtensionOffered", ""};

// Log viewer.
inline constexpr SettingKey LogWidth{"LogDetails", "LogWidth", "8000"};
inline constexpr SettingKey LogHeight{"LogDetails", "LogHeight", "6500"};
inline constexpr SettingKey LogTop{"LogDetails", "LogTop", "1000"};
inline constexpr SettingKey LogLeft{"LogDetails", "LogLeft", "1000"};

// Search window.
inline constexpr SettingKey SearchCriteria{"Search", "Criteria", ""};
inline constexpr SettingKey SearchFolderName{"Search", "FolderName", ""};

// SMTP account.
inline constexpr SettingKey SmtpServer{"SMTP", "SMTPServer", ""};
inline constexpr SettingKey SmtpPort{"SMTP", "SMTPPort", "25"};
inline constexpr SettingKey SmtpInterval{"SMTP", "Interval", "0"};
inline constexpr SettingKey SmtpChkAth{"SMTP", "ChkAth", "0"};
inline constexpr SettingKey SmtpUser{"SMTP", "User", ""};
inline constexpr SettingKey SmtpPwd{"SMTP", "Pwd", ""};
inline constexpr SettingKey SmtpFromName{"SMTP", "FromName", ""};
inline constexpr SettingKey SmtpFromEmail{"SMTP", "FromEmail", ""};
inline constexpr SettingKey SmtpReplyEmail{"SMTP", "ReplyEmail", ""};
// Beyond the account itself: "1" turns STARTTLS and implicit TLS off for a server that needs that.
inline constexpr SettingKey SmtpNoEncryption{"SMTP", "NoEncryption", "0"};
// At most this many mails a minute leave a send run; "0" sets no limit.
inline constexpr SettingKey SmtpMailsPerMinute{"SMTP", "MailsPerMinute", "0"};
inline constexpr SettingKey SendMail{"SMTP", "SendMail", "SMTP"};
// The system mail transport of the outbox run.
inline constexpr SettingKey SendmailPath{"SMTP", "SendmailPath", "/usr/sbin/sendmail"};

// Composer.
inline constexpr SettingKey ComposerFontName{"Composer", "FontName", "Arial"};
inline constexpr SettingKey ComposerFontSize{"Composer", "FontSize", "2"};

// Blank-field replacers.
inline constexpr SettingKey BlankFirstName{"BlankFields", "FirstName", "Sir"};
inline constexpr SettingKey BlankLastName{"BlankFields", "LastName", ""};
inline constexpr SettingKey BlankJobTitle{"BlankFields", "JobTitle", ""};
inline constexpr SettingKey BlankCompany{"BlankFields", "Company", ""};

// Contact folder of the mail client.
inline constexpr SettingKey ContactsFolderName{"Contacts", "FolderName", "default"};
inline constexpr SettingKey ContactsEntryId{"Contacts", "ContactEntryid", "default"};
// The Outlook data files (.pst, .ost) added as stores of the mail client, joined by the list separator.
inline constexpr SettingKey ContactsDataFiles{"Contacts", "DataFiles", ""};

// Contact sources. The wizard reads the database path as "MDBFilename" and writes it as
// "MDBFileName", and reads the sheet as "EXSheetName" where it writes "ExSheetName": one key
// each in this store, which ignores case.
inline constexpr SettingKey WabFilename{"AddBookValues", "WabFilename", ""};
inline constexpr SettingKey TabFile{"TabValues", "TxtTabFile", ""};
inline constexpr SettingKey CommaFile{"CommaValues", "TxtComaFile", ""};
inline constexpr SettingKey MdbFileNameRead{"MSAccess", "MDBFilename", ""};
inline constexpr SettingKey MdbFileNameWrite{"MSAccess", "MDBFileName", ""};
inline constexpr SettingKey AccessTableName{"MSAccess", "TableName", ""};
inline constexpr SettingKey AccessPassword{"MSAccess", "Password", ""};
inline constexpr SettingKey ExcelFileName{"XlSheet", "ExFileName", ""};
inline constexpr SettingKey ExcelSheetNameWrite{"XlSheet", "ExSheetName", ""};
inline constexpr SettingKey ExcelSheetNameRead{"XlSheet", "EXSheetName", ""};

// Sections that hold keys built at run time.
inline constexpr const char* ContactsListSection = "ContactsList";
inline constexpr const char* TabValuesSection = "TabValues";
inline constexpr const char* CommaValuesSection = "CommaValues";
inline constexpr const char* AccessSection = "MSAccess";
inline constexpr const char* ExcelSection = "XlSheet";

} // namespace Keys
