#pragma once

#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// Where the keys go: what the input focus and its windows tell, for displays on which nobody tells the
/// active window.
struct FocusedWindow {
    /// The application's own window: the one that a window manager has marked (ICCCM 2.0 section 4.1.3.1),
    /// else the outermost that has a class, else the outermost. None where nothing has the keyboard.
    xcb_window_t window = XCB_WINDOW_NONE;
    /// Whether the keys follow the pointer from window to window.
    bool followsPointer = false;

    /// As it is at this moment. Waits for the server once for each window that lies under the pointer or
    /// around the focus, one inside the other: some four as toolkits nest them, 64 of each at most.
    static FocusedWindow read(Connection& connection);
};

}  // namespace vellumix::x11
