#pragma once

#include <functional>
#include <span>
#include <string>

#include "platform/desktop/Geometry.h"
#include "platform/x11/server/ServiceSelection.h"
#include "platform/x11/windows/WindowServer.h"

namespace vellumix::x11 {

/// An icon in the display's system tray (System Tray Protocol 0.3 of freedesktop.org, XEmbed 0.5), for as
/// long as this lives and whenever there is a tray. Main thread only; waits for the X server alone.
class XEmbedTray {
public:
    /// The icon is in the space of the monitors. May destroy the tray.
    using PressHandler = std::function<void(const Rect& icon, bool isPrimary)>;

    /// The window server must outlive this.
    XEmbedTray(Connection& connection, const WindowServer& windows, PressHandler onPress);
    ~XEmbedTray();
    XEmbedTray(const XEmbedTray&) = delete;
    XEmbedTray& operator=(const XEmbedTray&) = delete;

    /// Nothing is seen of a symbol whose name isn't known.
    void setImage(const std::string& symbolName, const std::string& title);

private:
    struct Format {
        std::uint8_t depth = 0;
        xcb_visualid_t visual = 0;
    };

    void dock();
    void undock();
    Format formatOfTray() const;
    void describe();
    void handle(const xcb_generic_event_t& event);
    void reparented(xcb_window_t parent);
    void pressed(const xcb_button_press_event_t& press);
    void draw();
    /// The pixels that the icon's transparent ones let through.
    std::vector<std::uint32_t> ground(int x, int y, int side);

    Connection& connection;
    const WindowServer& windows;
    PressHandler onPress;
    std::string symbolName;
    std::string title;
    ServiceSelection manager;
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_gcontext_t context = XCB_NONE;
    xcb_colormap_t colormap = XCB_NONE;
    std::uint8_t depth = 0;
    /// In pixels.
    int width = 0;
    int height = 0;
    Observation managerChanges;
    Observation events;
};

}  // namespace vellumix::x11
