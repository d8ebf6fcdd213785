#include "core/cleaning/AutoCleanSettings.h"

#include <array>
#include <string>

#include "platform/foundation/coding/Json.h"
#include "platform/foundation/files/Setting.h"

namespace vellumix {

namespace {

constexpr std::array allModes{AutoCleanMode::none, AutoCleanMode::onLaunch, AutoCleanMode::daily,
                              AutoCleanMode::weekly};
using Modes = std::set<AutoCleanMode>;

/// As data that hold an array of the modes' names in JSON.
struct AsModes {
    static std::optional<Modes> load(std::string_view key, const UserDefaults& defaults) {
        const auto data = defaults.value<Data>(key);
        if (!data) return std::nullopt;
        JsonReader reader(*data);
        Modes modes;
        std::string text;
        const auto element = [&] {
            if (!reader.string(text)) return false;
            const auto mode = AsName<allModes>::named(text);
            if (mode) modes.insert(*mode);
            return mode.has_value();
        };
        return reader.array(element) && reader.end() ? std::optional(modes) : std::nullopt;
    }
    static void save(const Modes& modes, std::string_view key, UserDefaults& defaults) {
        Bytes json;
        JsonWriter writer(json);
        writer.beginArray();
        for (const auto mode : modes) writer.string(rawValue(mode));
        writer.endArray();
        defaults.set(key, Data(std::move(json)));
    }
};

const Setting<Modes, AsModes> modesSetting("settings.autoClean.modes");
const Setting<bool> confirmSetting("settings.autoClean.confirm", false);
const Setting<std::optional<Date>> lastRunAtSetting("settings.autoClean.lastRunAt");
const Setting<std::optional<Date>> lastDailyRunAtSetting("settings.autoClean.lastDailyRunAt");
const Setting<std::optional<Date>> lastWeeklyRunAtSetting("settings.autoClean.lastWeeklyRunAt");
/// The one mode that older versions stored.
const Setting<AutoCleanMode, AsName<allModes>> olderModeSetting("settings.autoClean.mode",
                                                                AutoCleanMode::none);

}  // namespace

std::string_view rawValue(AutoCleanMode mode) {
    static constexpr std::array<std::string_view, allModes.size()> names{"none", "onLaunch", "daily",
                                                                         "weekly"};
    return names[static_cast<std::size_t>(mode)];
}

AutoCleanSettings AutoCleanSettings::load() {
    AutoCleanSettings settings;
    settings.confirm = confirmSetting.get();
    settings.lastRunAt = lastRunAtSetting.get();
    if (auto modes = modesSetting.stored()) {
        settings.modes = std::move(*modes);
        settings.lastDailyRunAt = lastDailyRunAtSetting.get();
        settings.lastWeeklyRunAt = lastWeeklyRunAtSetting.get();
        return settings;
    }
    const auto older = olderModeSetting.get();
    if (older != AutoCleanMode::none) {
        settings.modes = {older};
        settings.lastDailyRunAt = settings.lastRunAt;
        settings.lastWeeklyRunAt = settings.lastRunAt;
        // Saved before the older key goes, as a quit before the next clean would lose the mode otherwise.
        settings.save();
        olderModeSetting.remove();
    }
    return settings;
}

void AutoCleanSettings::save() const {
    modesSetting.set(modes);
    confirmSetting.set(confirm);
    lastRunAtSetting.set(lastRunAt);
    lastDailyRunAtSetting.set(lastDailyRunAt);
    lastWeeklyRunAtSetting.set(lastWeeklyRunAt);
}

}  // namespace vellumix
