#pragma once

#include <string>

#include "platform/desktop/Geometry.h"
#include "platform/linux/loop/GLibRunLoop.h"
#include "platform/x11/server/XcbHandles.h"

namespace vellumix::tests {

/// Somebody at the mouse and the keyboard of the display (XTEST 2.2), who also looks at the screen.
class Person {
public:
    Person();

    /// In pixels of the screen.
    void moveTo(Point at);
    void click(unsigned button = 1);
    /// Key codes are those of evdev.
    void press(unsigned position);
    void release(unsigned position);
    void typeKey(unsigned position) {
        press(position);
        release(position);
    }
    /// The colour of a pixel of the screen, without alpha.
    std::uint32_t colourAt(Point at);
    xcb_window_t focus();
    /// Replaces a text property of the root window.
    void setRootText(xcb_atom_t property, const std::string& text);

private:
    void synchronize();

    x11::xcb::ConnectionHandle xcb;
    xcb_window_t root;
};

}  // namespace vellumix::tests
