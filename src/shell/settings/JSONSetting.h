#pragma once

#include <optional>
#include <string_view>

#include "delivery/Shortcut.h"
#include "platform/foundation/files/UserDefaults.h"

/// Shortcuts among the user defaults, as data that hold JSON. Main thread.
namespace vellumix {

/// An absent value removes the key.
void saveJSONSetting(const std::optional<Shortcut>& value, std::string_view key, UserDefaults& defaults);
/// Absent where nothing is stored that can be read.
std::optional<Shortcut> loadJSONSetting(std::string_view key, const UserDefaults& defaults);

}  // namespace vellumix
