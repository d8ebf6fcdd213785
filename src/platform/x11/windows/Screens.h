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
    const std::vector<NSScreen>& all() const { return all_; }
    /// Device pixels a point; from 1, in steps of a quarter.
    double scale() const { return scale_; }
    /// The monitor that most of the rectangle is on.
    std::optional<NSScreen> mostOf(const Rect& frame) const;
    /// The monitor with the point, if there is one.
    std::optional<NSScreen> at(Point point) const;
    Observation observe(std::function<void()> observer) { return observers.add(std::move(observer)); }

private:
    struct Monitors;

    void readLater();
    void read();
    Monitors readMonitors();
    double readScale(double primaryDotsPerInch) const;
    void cutByWorkArea(std::vector<NSScreen>& screens) const;
    void cutByStruts(std::vector<NSScreen>& screens) const;

    Connection& connection;
    const xcb_screen_t& screen;
    SettingsReader& settings;
    std::vector<NSScreen> all_;
    double scale_ = 1;
    bool hasMonitors = false;
    std::uint8_t randrFirstEvent = 0;
    bool isReading = false;
    ObserverList<> observers;
    Observation settingEvents;
    Observation randrEvents;
    std::optional<Observation> rootEvents;
    Observation workAreaChanges;
    Observation clientChanges;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
