#pragma once

#include <optional>
#include <vector>

#include "platform/desktop/Window.h"
#include "platform/x11/server/Connection.h"
#include "platform/x11/windows/DisplaySettings.h"

namespace vellumix::x11 {

/// The monitors of the display (RandR 1.5, else the root window as one), what the desktop's panels leave of
/// them (EWMH 1.5, "_NET_WORKAREA" and "_NET_WM_STRUT_PARTIAL"), and the scale, which is one for all. Main
/// thread.
class Screens {
public:
    Screens(Connection& connection, const xcb_screen_t& screen, SettingsReader& settings);
    Screens(const Screens&) = delete;
    Screens& operator=(const Screens&) = delete;

    /// In points, the primary monitor first.
    const std::vector<NSScreen>& all() const { return _all; }
    /// Device pixels a point; from 1, in steps of a quarter.
    double scale() const { return _scale; }
    /// The monitor that most of the rectangle is on.
    std::optional<NSScreen> mostOf(const Rect& frame) const;
    /// The monitor with the point, if there is one.
    std::optional<NSScreen> at(Point point) const;
    Observation observe(std::function<void()> observer) { return _observers.add(std::move(observer)); }

private:
    struct Monitors;

    void readLater();
    void read();
    Monitors readMonitors();
    double readScale(double primaryDotsPerInch) const;
    void cutByWorkArea(std::vector<NSScreen>& screens) const;
    void cutByStruts(std::vector<NSScreen>& screens) const;

    Connection& _connection;
    const xcb_screen_t& _screen;
    SettingsReader& _settings;
    std::vector<NSScreen> _all;
    double _scale = 1;
    bool _hasMonitors = false;
    std::uint8_t _randrFirstEvent = 0;
    bool _isReading = false;
    ObserverList<> _observers;
    Observation _settingEvents;
    Observation _randrEvents;
    std::optional<Observation> _rootEvents;
    Observation _workAreaChanges;
    Observation _clientChanges;
    Lifetime _lifetime;
};

}  // namespace vellumix::x11
