#pragma once

#include <map>
#include <memory>
#include <vector>

#include "platform/desktop/Window.h"
#include "platform/linux/authentication/SessionWatch.h"
#include "platform/x11/keys/KeyFocus.h"
#include "platform/x11/server/ServiceSelection.h"
#include "platform/x11/server/WindowManager.h"
#include "platform/x11/windows/DisplaySettings.h"
#include "platform/x11/windows/Pointer.h"
#include "platform/x11/windows/Screens.h"

struct xcb_cursor_context_t;

namespace vellumix::x11 {

class ScreenWindow;

/// The windows and monitors of an X11 display. Main thread.
class WindowServer final : public vellumix::WindowServer {
public:
    /// What the pixels of a window are on the display.
    struct Format {
        std::uint8_t depth = 0;
        xcb_visualid_t visual = 0;
        /// None for that of the root.
        xcb_colormap_t colormap = XCB_NONE;
    };

    /// All must outlive it.
    WindowServer(Connection& connection, WindowManager& windowManager, KeyboardMap& keyboard);
    ~WindowServer() override;
    WindowServer(const WindowServer&) = delete;
    WindowServer& operator=(const WindowServer&) = delete;

    std::unique_ptr<NSWindow> makeWindow(const NSWindow::Options& options) override;
    std::vector<NSScreen> screens() const override { return screens_.all(); }
    std::optional<NSScreen> mainScreen() const override;
    Point mouseLocation() const override;
    Observation observeScreenParameters(std::function<void()> observer) override {
        return screens_.observe(std::move(observer));
    }
    Observation observeActiveSpace(std::function<void()> observer) override {
        return spaceObservers.add(std::move(observer));
    }
    Observation observeSessionResign(std::function<void()> observer) override;
    Observation addGlobalMonitorForMouseDown(std::function<void()> handler) override {
        return pointer.observePressElsewhere(std::move(handler));
    }
    Observation addGlobalMonitorForMouseUp(std::function<void()> handler) override {
        return pointer.observeRelease(std::move(handler));
    }

    /// What the desktop says of fonts and icons.
    const DisplaySettings& settings() const { return settings_.settings(); }
    const xcb_screen_t& screen() const { return screen_; }
    int screenNumber() const { return screenNumber_; }
    /// Device pixels a point.
    double scale() const { return screens_.scale(); }
    /// Whether a window of the program keeps the keys from all others.
    bool hasKeyboard() const { return keys.hasKeyboard(); }

private:
    friend class ScreenWindow;

    Format formatWithAlpha() const;
    bool hasCompositor() const { return compositor.owner() != XCB_WINDOW_NONE; }
    /// Owned by the server.
    xcb_cursor_t cursor(Cursor cursor);
    void redrawAll();
    /// Window managers stack their windows without regard to those that they don't know: panels and menus
    /// stand right below that sibling from now on, or above everything without one.
    void stackFloating(xcb_window_t below);

    Connection& connection;
    WindowManager& windowManager;
    const xcb_screen_t& screen_;
    int screenNumber_;
    Format plain;
    Format alpha;
    SettingsReader settings_;
    Screens screens_;
    ServiceSelection compositor;
    KeyFocus keys;
    Pointer pointer;
    std::map<xcb_window_t, ScreenWindow*> windows;
    xcb_cursor_context_t* cursorContext = nullptr;
    std::map<Cursor, xcb_cursor_t> cursors;
    ObserverList<> spaceObservers;
    linux_desktop::SessionWatch session;
    Observation compositorEvents;
    Observation screenEvents;
    Observation spaceEvents;
};

}  // namespace vellumix::x11
