#include "WindowPlacement.h"

#include "core/Twips.h"

#include <QWidget>

namespace WindowPlacement {

std::optional<double> storedLength(const SettingKey& key)
{
    bool ok = false;
    const double value = SettingsStore::instance().value(key).toDouble(&ok);
    return ok ? std::optional<double>(value) : std::nullopt;
}

void restore(QWidget* window, const StoredRect& keys)
{
    const auto left = storedLength(keys.left);
    const auto top = storedLength(keys.top);
    const auto width = storedLength(keys.width);
    const auto height = storedLength(keys.height);
    window->move(left ? Twips::toPixels(*left) : window->x(), top ? Twips::toPixels(*top) : window->y());
    window->resize(width ? Twips::toPixels(*width) : window->width(),
                   height ? Twips::toPixels(*height) : window->height());
}

void save(const QWidget* window, const StoredRect& keys)
{
    SettingsStore& store = SettingsStore::instance();
    store.setValue(keys.left, QString::number(Twips::fromPixels(window->x())));
    store.setValue(keys.top, QString::number(Twips::fromPixels(window->y())));
    store.setValue(keys.width, QString::number(Twips::fromPixels(window->width())));
    store.setValue(keys.height, QString::number(Twips::fromPixels(window->height())));
}

} // namespace WindowPlacement
