#include "MailNamespace.h"

#include "ThunderbirdProfiles.h"

#include <QDir>

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

void setAttachOverride(std::function<std::unique_ptr<MailNamespace>()> make)
{
    attachOverride() = std::move(make);
}

} // namespace MailClient
