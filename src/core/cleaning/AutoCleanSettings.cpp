#include "core/cleaning/AutoCleanSettings.h"

#include <algorithm>
#include <array>
#include <string>

#include "platform/foundation/coding/Json.h"
#include "platform/foundation/files/UserDefaults.h"

namespace vellumix {

namespace {

constexpr std::string_view modesKey = "settings.autoClean.modes";
constexpr std::string_view confirmKey = "settings.autoClean.confirm";
constexpr std::string_view lastRunAtKey = "settings.autoClean.lastRunAt";
constexpr std::string_view lastDailyRunAtKey = "settings.autoClean.lastDailyRunAt";
constexpr std::string_view lastWeeklyRunAtKey = "settings.autoClean.lastWeeklyRunAt";
/// One raw string, as older versions stored it.
constexpr std::string_view olderModeKey = "settings.autoClean.mode";

constexpr std::array<std::string_view, 4> rawModes{"none", "onLaunch", "daily", "weekly"};

std::optional<AutoCleanMode> modeFromRawValue(std::string_view text) {
    const auto found = std::ranges::find(rawModes, text);
    if (found == rawModes.end()) return std::nullopt;
    return static_cast<AutoCleanMode>(found - rawModes.begin());
}

std::optional<std::set<AutoCleanMode>> storedModes() {
    const auto data = UserDefaults::standard().value<Data>(modesKey);
    if (!data) return std::nullopt;
    JsonReader reader(*data);
    std::set<AutoCleanMode> modes;
    std::string text;
    const auto element = [&] {
        if (!reader.string(text)) return false;
        const auto mode = modeFromRawValue(text);
        if (mode) modes.insert(*mode);
        return mode.has_value();
    };
    return reader.array(element) && reader.end() ? std::optional(modes) : std::nullopt;
}

}  // namespace

std::string_view rawValue(AutoCleanMode mode) { return rawModes[static_cast<std::size_t>(mode)]; }

AutoCleanSettings AutoCleanSettings::load() {
    auto& defaults = UserDefaults::standard();
    AutoCleanSettings settings;
    settings.confirm = defaults.boolForKey(confirmKey);
    settings.lastRunAt = defaults.value<Date>(lastRunAtKey);
    if (auto modes = storedModes()) {
        settings.modes = std::move(*modes);
        settings.lastDailyRunAt = defaults.value<Date>(lastDailyRunAtKey);
        settings.lastWeeklyRunAt = defaults.value<Date>(lastWeeklyRunAtKey);
        return settings;
    }
    const auto older = modeFromRawValue(defaults.value<std::string>(olderModeKey).value_or(""));
    if (older && *older != AutoCleanMode::none) {
        settings.modes = {*older};
        settings.lastDailyRunAt = settings.lastRunAt;
        settings.lastWeeklyRunAt = settings.lastRunAt;
        // Saved before the older key goes, as a quit before the next clean would lose the mode otherwise.
        settings.save();
        defaults.remove(olderModeKey);
    }
    return settings;
}

void AutoCleanSettings::save() const {
    auto& defaults = UserDefaults::standard();
    Bytes json;
    JsonWriter writer(json);
    writer.beginArray();
    for (const auto mode : modes) writer.string(rawValue(mode));
    writer.endArray();
    defaults.set(modesKey, Data(std::move(json)));
    defaults.set(confirmKey, confirm);
    defaults.set(lastRunAtKey, lastRunAt);
    defaults.set(lastDailyRunAtKey, lastDailyRunAt);
    defaults.set(lastWeeklyRunAtKey, lastWeeklyRunAt);
}

}  // namespace vellumix
