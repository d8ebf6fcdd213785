#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/ObserverList.h"
#include "platform/x11/server/Connection.h"
#include "platform/x11/server/ServiceSelection.h"

namespace vellumix::x11 {

/// What the user has set for every program on the display; absent where nobody tells. The settings of this
/// program are another matter: docs/settings.md.
struct DisplaySettings {
    /// The family of the interface's font.
    std::optional<std::string> fontFamily;
    std::optional<std::string> iconTheme;
    /// Dots an inch for text.
    std::optional<double> dotsPerInch;
    /// How many device pixels make up one of the desktop's own.
    std::optional<int> scalingFactor;

    friend bool operator==(const DisplaySettings&, const DisplaySettings&) = default;
};

/// The settings in an _XSETTINGS_SETTINGS value (XSETTINGS 0.5, "Format of the _XSETTINGS_SETTINGS
/// property"). Any bytes whatever; what follows a malformed setting doesn't count.
DisplaySettings settingsOfProperty(ByteView value);
/// "Noto Sans Bold 11" gives "Noto Sans"; nothing when no family is named.
std::optional<std::string> familyOfFontName(std::string_view name);
/// The value of "Xft.dpi" among the resources of a display; nothing when it isn't there or isn't a number.
std::optional<double> dotsPerInchOfResources(std::string_view resources);

/// Follows the settings manager of the display, if there is one, and the display's resources. Main thread.
class SettingsReader {
public:
    SettingsReader(Connection& connection, int screenNumber);
    SettingsReader(const SettingsReader&) = delete;
    SettingsReader& operator=(const SettingsReader&) = delete;

    const DisplaySettings& settings() const { return settings_; }
    Observation observe(std::function<void()> observer) { return observers.add(std::move(observer)); }

private:
    void followManager();
    /// Several changes in a row are read as one.
    void readLater();
    void read();

    Connection& connection;
    ServiceSelection manager;
    DisplaySettings settings_;
    bool isReading = false;
    ObserverList<> observers;
    Observation managerChanges;
    std::optional<Observation> managerEvents;
    Observation resourceChanges;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
