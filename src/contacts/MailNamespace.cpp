#include "MailNamespace.h"

#include "ThunderbirdProfiles.h"

#include <QDir>

#include <algorithm>

namespace MailClient {

namespace {

std::function<std::unique_ptr<MailNamespace>()>& attachOverride()
{
    static std::function<std::unique_ptr<MailNamespace>()> make;
    return make;
}

} // namespace

std::unique_ptr<MailNamespace> attach()
{
    if (attachOverride()) {
        return attachOverride()();
    }
    return std::make_unique<ThunderbirdProfiles>(QDir::homePath());
}

std::optional<Contact> contactRow(const MailContactItem& item)
{
    if (item.className != QStringLiteral("ContactItem")) {
        return std::nullopt;
    }
    Contact row;
    std::copy(item.values.begin(), item.values.end(), row.cells.begin());
    row.key = item.entryId;
    return row;
}

void setAttachOverride(std::function<std::unique_ptr<MailNamespace>()> make)
{
    attachOverride() = std::move(make);
}

} // namespace MailClient
