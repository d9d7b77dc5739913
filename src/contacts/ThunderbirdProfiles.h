#pragma once

#include "MailNamespace.h"

#include <QStringList>

// The address books of Thunderbird as mail stores: every profile that profiles.ini lists under
// ~/.thunderbird or ~/.mozilla-thunderbird is a store, and its address books are its contact
// folders: "abook.sqlite" (the personal address book), "history.sqlite" (collected addresses)
// and every other book that prefs.js names with user_pref("ldap_2.servers.X.filename", "…"),
// titled by its "description". Books whose file is missing are not shown.
//
// A book is an SQLite database, opened read-only. Its cards are the rows of the table
// properties (card, name, value) that share a card id; a card's values come from its "_vCard"
// property when it has one (newer books), else from the legacy properties PrimaryEmail,
// FirstName, LastName, JobTitle, Company, WorkAddress (and WorkAddress2), WorkCity, WorkState,
// WorkZipCode, WorkCountry, WorkPhone, FaxNumber and WebPage1. The table lists holds the
// mailing lists, items of the class "DistListItem" that follow the cards.
//
// Identifiers are stable from run to run: "thunderbird:" and the absolute path of the profile
// folder or of the book's file; a card adds "#" and its id.
class ThunderbirdProfiles : public MailNamespace
{
public:
    explicit ThunderbirdProfiles(const QString& homeFolder);

    std::vector<MailFolder> stores() const override;
    std::optional<MailFolder> GetDefaultFolder(int which) const override;
    std::optional<MailFolder> GetFolderFromID(const QString& entryId) const override;
    Result<std::vector<MailContactItem>> items(const QString& entryId) const override;

private:
    struct Profile
    {
        QString name;
        QString folder;
        std::vector<MailFolder> books;
    };
    void readProfiles(const QString& base);
    std::vector<MailFolder> readBooks(const Profile& profile) const;

    std::vector<Profile> m_profiles;
    int m_default = -1;
};
