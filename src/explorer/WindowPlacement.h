#pragma once

#include "core/SettingsStore.h"

#include <optional>

class QWidget;

// A window's rectangle kept in the store as four lengths in twips: left, top, width, height.
struct StoredRect
{
    const SettingKey& left;
    const SettingKey& top;
    const SettingKey& width;
    const SettingKey& height;
};

namespace WindowPlacement {

// A stored length: the value as a number, or nothing when the text does not convert.
std::optional<double> storedLength(const SettingKey& key);

// Puts the window where the store says; a length that is no number leaves the window's own.
void restore(QWidget* window, const StoredRect& keys);

// Writes the window's rectangle as it stands.
void save(const QWidget* window, const StoredRect& keys);

} // namespace WindowPlacement
