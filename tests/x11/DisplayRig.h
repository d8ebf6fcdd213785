#pragma once

#include <memory>
#include <string>

#include "platform/x11/keys/KeyboardMap.h"
#include "platform/x11/server/WindowManager.h"
#include "x11/Peer.h"
#include "x11/PrivateDisplay.h"

namespace vellumix::tests {

/// A private display and this program's connection to it, on a loop of its own: what each test of the X11
/// platform begins with.
class DisplayRig {
public:
    /// As `PrivateDisplay` takes it.
    explicit DisplayRig(const std::string& missingExtension = {});
    DisplayRig(const DisplayRig&) = delete;
    DisplayRig& operator=(const DisplayRig&) = delete;

    bool wait(const std::function<bool()>& condition, double seconds = 5) {
        return waitUntil(runLoop, condition, seconds);
    }
    /// Lets everything happen that is under way between this program and the server: a new owner of the
    /// clipboard, a death or a write of ours each take a few turns of both.
    void settle();

    PrivateDisplay display;
    linux_desktop::GLibRunLoop runLoop;
    /// Why there is no connection, where there is none.
    std::string trouble;
    std::unique_ptr<x11::Connection> connection;
    std::unique_ptr<x11::WindowManager> windowManager;
    std::unique_ptr<x11::KeyboardMap> keyboard;
};

}  // namespace vellumix::tests
