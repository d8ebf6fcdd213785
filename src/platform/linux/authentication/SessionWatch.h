#pragma once

#include <functional>
#include <memory>

#include "platform/foundation/observation/Observation.h"

namespace vellumix::linux_desktop {

/// Tells when the session goes out of the person's sight: its screen is being locked, another session takes
/// its place, or the machine goes to sleep.
///
/// By the login manager's signals of this session (org.freedesktop.login1: "Lock", "LockedHint", "Active",
/// "PrepareForSleep") and those of the desktop's screen saver ("ActiveChanged" of org.freedesktop.ScreenSaver
/// and org.gnome.ScreenSaver). Tells nothing where there are none. One cause may be told several times. Main
/// thread; waits for nobody.
class SessionWatch {
public:
    SessionWatch();
    ~SessionWatch();
    SessionWatch(const SessionWatch&) = delete;
    SessionWatch& operator=(const SessionWatch&) = delete;

    /// Connects at the first call, in the background.
    Observation observe(std::function<void()> observer);

private:
    struct State;
    std::shared_ptr<State> state;
};

}  // namespace vellumix::linux_desktop
