#pragma once

#include <optional>

#include "platform/foundation/observation/ObserverList.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// The window manager of the display, as far as it tells of itself (Extended Window Manager Hints 1.5): one
/// that tells nothing is none. Answers from what has been announced. Main thread.
class WindowManager {
public:
    explicit WindowManager(Connection& connection);
    WindowManager(const WindowManager&) = delete;
    WindowManager& operator=(const WindowManager&) = delete;

    /// Whether one runs ("_NET_SUPPORTING_WM_CHECK").
    bool isRunning() const { return window != XCB_WINDOW_NONE; }
    /// The window that it calls active ("_NET_ACTIVE_WINDOW"), a window of this program among them; none
    /// while no window manager runs.
    xcb_window_t activeWindow() const { return activeWindow_; }
    /// There is another active window or another window manager, or none any more. Several changes in a row
    /// are told as one.
    Observation observe(std::function<void()> observer) { return observers.add(std::move(observer)); }
    /// Tells at once of what the server has announced and nobody has been told yet. Waits for the server if
    /// there is anything, and for nobody else.
    void catchUp();
    /// Asks it to make a window the active one. `isByUser` says that the user has chosen it; otherwise an
    /// application of ours asks for its own window.
    void activate(xcb_window_t window, bool isByUser);

private:
    void read();
    void readActiveWindow();
    xcb_window_t windowNamedBy(xcb_window_t window, xcb_atom_t property) const;

    Connection& connection;
    /// Its own window.
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_window_t activeWindow_ = XCB_WINDOW_NONE;
    ObserverList<> observers;
    std::optional<Observation> end;
    Observation checkChanges;
    Observation activeChanges;
};

}  // namespace vellumix::x11
