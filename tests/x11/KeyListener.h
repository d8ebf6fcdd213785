#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "platform/x11/keys/KeyCodes.h"

namespace vellumix::tests {

/// A window of another program with the keyboard, which tells what keys come to it: "+" or "-" and the
/// position.
class KeyListener {
public:
    explicit KeyListener(x11::Connection& connection) : xcb(xcb_connect(nullptr, nullptr)) {
        const auto window = xcb_generate_id(xcb.get());
        const std::uint32_t values[] = {
            1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_FOCUS_CHANGE};
        xcb_create_window(xcb.get(), XCB_COPY_FROM_PARENT, window, connection.root(), 0, 0, 9, 9, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(xcb.get(), window);
        xcb_set_input_focus(xcb.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
        x11::xcb::await<xcb_get_input_focus_reply>(xcb.get(), xcb_get_input_focus(xcb.get()));
    }

    /// All so far.
    const std::string& keys() {
        while (const x11::xcb::Event event{xcb_poll_for_event(xcb.get())}) {
            const auto type = x11::xcb::typeOf(*event);
            if (type == XCB_FOCUS_IN || type == XCB_FOCUS_OUT) {
                const auto& focus = x11::xcb::as<xcb_focus_in_event_t>(*event);
                const bool isByGrab =
                    focus.mode == XCB_NOTIFY_MODE_GRAB || focus.mode == XCB_NOTIFY_MODE_UNGRAB;
                focusChanges_ += !isByGrab;
            }
            if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) continue;
            keys_ += type == XCB_KEY_PRESS ? " +" : " -";
            keys_ += std::to_string(x11::positionOf(x11::xcb::as<xcb_key_press_event_t>(*event).detail));
        }
        return keys_;
    }
    /// How often the focus went or came since the last question, but for a grab of the keyboard.
    int focusChanges() {
        keys();
        return std::exchange(focusChanges_, 0);
    }
    void forget() {
        focusChanges();
        keys_.clear();
    }

private:
    x11::xcb::ConnectionHandle xcb;
    std::string keys_;
    int focusChanges_ = 0;
};

/// What a listener is told of keys that are pressed in this order and released in the other.
inline std::string chord(std::initializer_list<int> positions) {
    std::string text;
    for (const int position : positions) text += " +" + std::to_string(position);
    for (auto at = std::rbegin(positions); at != std::rend(positions); ++at)
        text += " -" + std::to_string(*at);
    return text;
}

}  // namespace vellumix::tests
