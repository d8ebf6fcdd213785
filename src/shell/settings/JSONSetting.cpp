#include "shell/settings/JSONSetting.h"

namespace vellumix {

void saveJSONSetting(const std::optional<Shortcut>& value, std::string_view key, UserDefaults& defaults) {
    defaults.set(key, value ? std::optional(value->encode()) : std::nullopt);
}

std::optional<Shortcut> loadJSONSetting(std::string_view key, const UserDefaults& defaults) {
    const auto data = defaults.value<Data>(key);
    return data ? Shortcut::decode(*data) : std::nullopt;
}

}  // namespace vellumix
