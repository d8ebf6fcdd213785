#pragma once

#include <optional>
#include <set>
#include <string_view>

#include "platform/foundation/loop/Date.h"

namespace vellumix {

enum class AutoCleanMode { none, onLaunch, daily, weekly };

/// The string by which a mode is stored.
std::string_view rawValue(AutoCleanMode mode);

/// What the user chose about cleaning, and when cleans last ran.
struct AutoCleanSettings {
    /// Any combination; `none` among them keeps every clean from removing anything.
    std::set<AutoCleanMode> modes;
    /// Ask before cleaning.
    bool confirm = false;
    /// The last completed clean of any kind.
    std::optional<Date> lastRunAt;
    std::optional<Date> lastDailyRunAt;
    std::optional<Date> lastWeeklyRunAt;

    /// Reads the user defaults; what can't be read has its default. An older single mode is migrated and
    /// saved at once.
    static AutoCleanSettings load();
    void save() const;

    friend bool operator==(const AutoCleanSettings&, const AutoCleanSettings&) = default;
};

}  // namespace vellumix
