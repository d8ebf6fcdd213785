#pragma once

#include <functional>
#include <set>

#include "platform/foundation/memory/Lifetime.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// Tells when a program is about to lock the screen. Lockers take the keyboard by a grab, give up after a
/// second or two, and can't say so before they have it. What they show of themselves on the way is taken for
/// the sign: a window past the window manager (override-redirect) that covers the whole screen, as soon as it
/// is made; one that is mapped to take input and show nothing (InputOnly), as by those that leave the screen
/// in sight; and the server's own screen saver (X11 Screen Saver Extension 1.1), with which many are started.
///
/// Other programs have such windows too, to pick a part of the screen: they want the keyboard just as well.
/// Look for lockers only while it matters: every new window wakes the program. The windows of a program that
/// shows very many at a time are not all looked at: lockers have few. `onLocker` mustn't end the watch. Main
/// thread.
class LockerWatch {
public:
    LockerWatch(Connection& connection, std::function<void()> onLocker);
    ~LockerWatch();
    LockerWatch(const LockerWatch&) = delete;
    LockerWatch& operator=(const LockerWatch&) = delete;

private:
    void handle(const xcb_generic_event_t& event);
    void considerLater(xcb_window_t window);
    /// Whether the window, which is about to be shown, leaves nobody else the screen or the input.
    bool takesOver(xcb_window_t window) const;

    Connection& connection;
    std::function<void()> onLocker;
    /// 0 where the server has no such extension.
    std::uint8_t saverEvent = 0;
    /// Those that wait to be looked at.
    std::set<xcb_window_t> windows;
    Observation children;
    Observation extensions;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
