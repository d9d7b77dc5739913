#include "BlankReplacers.h"

#include "core/SettingsKeys.h"

namespace {

constexpr const SettingKey* KeysInOrder[4] = {&Keys::BlankFirstName, &Keys::BlankLastName, &Keys::BlankJobTitle,
                                              &Keys::BlankCompany};

} // namespace

BlankReplacers BlankReplacers::load()
{
    BlankReplacers replacers;
    for (int k = 0; k < 4; ++k) {
        replacers.texts[k] = SettingsStore::instance().value(*KeysInOrder[k]);
    }
    return replacers;
}

void BlankReplacers::save() const
{
    for (int k = 0; k < 4; ++k) {
        SettingsStore::instance().setValue(*KeysInOrder[k], texts[k]);
    }
}
