#pragma once

#include <optional>

#include "platform/desktop/Geometry.h"
#include "platform/x11/server/WindowManager.h"

namespace vellumix::x11 {

/// What passes between the window manager and a window that is given to it: its frame, its place, its
/// activation, and what the user asks for by the frame (ICCCM 2.0 section 4, EWMH 1.5). For a window past the
/// window manager there is nothing of it to know. Main thread.
class ManagedWindow {
public:
    /// Both must outlive it.
    ManagedWindow(Connection& connection, WindowManager& windowManager)
        : connection(connection), windowManager(windowManager) {}
    ManagedWindow(const ManagedWindow&) = delete;
    ManagedWindow& operator=(const ManagedWindow&) = delete;

    /// The window is made, or made anew.
    void setWindow(xcb_window_t window) { this->window = frame_ = window; }
    /// The child of the root that a window manager has put the window into; the window itself without one.
    xcb_window_t frame() const { return frame_; }
    /// Looks for the frame after the window has got another parent. Waits for the server, once for each
    /// window around it.
    void reparented();
    /// Where the window lies now, in pixels of the root. Nothing when it is gone. Waits for the server once
    /// where the event doesn't tell.
    std::optional<Point> originOf(const xcb_configure_notify_event_t& event, bool isSynthetic) const;

    /// The window wants to be the active one, as soon as it can be seen; or no longer.
    void setWantsActivation(bool wants) { wantsActivation = wants; }
    /// It can be seen: asks for what it wants.
    void activateIfWanted();

    /// Whether the message asks for the window to be closed. Answers others of its protocols.
    bool asksToClose(const xcb_client_message_event_t& message) const;

private:
    Connection& connection;
    WindowManager& windowManager;
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_window_t frame_ = XCB_WINDOW_NONE;
    bool wantsActivation = false;
};

}  // namespace vellumix::x11
