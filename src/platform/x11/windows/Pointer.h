#pragma once

#include <xcb/xinput.h>

#include <functional>
#include <map>
#include <vector>

#include "platform/desktop/Window.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// The pointer over the windows of the program, and presses elsewhere (X Input Extension 2.2). Main thread.
class Pointer {
public:
    /// What the pointer has to know of the program's windows.
    struct Surroundings {
        /// Who is told of what happens on a window; null for one that isn't ours.
        std::function<NSWindowDelegate*(xcb_window_t)> delegateOf;
        /// Whether a child of the root is a window of ours, or the frame of one.
        std::function<bool(xcb_window_t)> isOurs;
        /// Device pixels a point.
        std::function<double()> scale;
    };

    Pointer(Connection& connection, Surroundings surroundings);
    Pointer(const Pointer&) = delete;
    Pointer& operator=(const Pointer&) = delete;

    /// Asks for what happens on a window.
    void select(xcb_window_t window);
    /// Each press of the primary or secondary button elsewhere. Empty without the extension.
    Observation observePressElsewhere(std::function<void()> handler);
    /// Each release of them, wherever it is. Empty without the extension.
    Observation observeRelease(std::function<void()> handler);
    /// In pixels of the root window. Waits for the server.
    Point location() const;

private:
    /// A direction of scrolling that a device has a valuator for.
    struct ScrollAxis {
        std::uint16_t number = 0;
        bool isVertical = true;
        /// What one click of a wheel adds.
        double increment = 1;
        double value = 0;
    };
    struct Click {
        xcb_window_t window = XCB_WINDOW_NONE;
        PointerButton button = PointerButton::primary;
        Point at;
        xcb_timestamp_t time = 0;
        int count = 0;
    };

    void selectEvents(xcb_window_t window, std::uint32_t events);
    void handle(const xcb_generic_event_t& event);
    void pressed(const xcb_generic_event_t& event, bool isRelease);
    void moved(const xcb_generic_event_t& event);
    Observation observeRaw(ObserverList<>& observers, std::function<void()> handler);
    /// Asks for what happens anywhere as long as somebody wants to know: otherwise each click on the display
    /// would wake this program for nothing.
    void selectRaw();
    void clickedSomewhere(const xcb_generic_event_t& event, bool isRelease);
    /// Where the wheels of all devices stand, from which the next turns count.
    void readAxes();
    static std::vector<ScrollAxis> axesOf(const xcb_input_xi_device_info_t& device);
    int countClick(const Click& press);

    Connection& connection;
    Surroundings surroundings;
    std::uint8_t opcode = 0;
    bool isPresent = false;
    /// What is asked for on the root window.
    std::uint32_t rawEvents = 0;
    std::map<std::uint16_t, std::vector<ScrollAxis>> axes;
    Click lastClick;
    ObserverList<> elsewhere;
    ObserverList<> releases;
    Observation events;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
