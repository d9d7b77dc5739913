#include "DataSources.h"

using namespace Qt::StringLiterals;

namespace DataSources {

QStringList entries()
{
    return {u"WAB(Address Book)"_s,
            u"Outlook Contacts"_s,
            u"Microsoft Excel Sheet"_s,
            u"Microsoft Access"_s,
            u"Text File (Tab Separated Values)"_s,
            u"Text File (Comma Separated Values)"_s};
}

} // namespace DataSources
