#include "x11/DisplayRig.h"

namespace vellumix::tests {

DisplayRig::DisplayRig(const std::string& missingExtension)
    : display(missingExtension), connection(x11::Connection::open(runLoop, trouble)) {
    if (!connection) return;
    windowManager = std::make_unique<x11::WindowManager>(*connection);
    keyboard = std::make_unique<x11::KeyboardMap>(*connection);
}

void DisplayRig::settle() {
    constexpr int turns = 8;
    for (int turn = 0; turn < turns; ++turn) {
        x11::xcb::await<xcb_get_input_focus_reply>(connection->xcb(), xcb_get_input_focus(connection->xcb()));
        bool isDone = false;
        runLoop.post([&] { isDone = true; });
        runLoop.runUntil([&] { return isDone; });
    }
}

}  // namespace vellumix::tests
