#pragma once

#include <xcb-imdkit/imdkit.h>

#include <optional>

#include "platform/foundation/memory/HandleDeleter.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::tests {

/// An input method named "test": A composes, B finishes what was composed, all other keys are given back.
class InputMethodServer {
public:
    explicit InputMethodServer(linux_desktop::GLibRunLoop& runLoop);
    ~InputMethodServer();
    InputMethodServer(const InputMethodServer&) = delete;
    InputMethodServer& operator=(const InputMethodServer&) = delete;

    bool isHung = false;
    int keys = 0;
    bool isFocused = false;

private:
    static void handle(xcb_im_t* method, xcb_im_client_t*, xcb_im_input_context_t* context,
                       const xcb_im_packet_header_fr_t* header, void* frame, void* argument, void* self);
    void answer(xcb_im_input_context_t* context, xcb_key_press_event_t* event);

    std::string error;
    std::unique_ptr<x11::Connection> connection;
    std::unique_ptr<xcb_im_t, HandleDeleter<xcb_im_destroy>> method;
    Observation events;
};

}  // namespace vellumix::tests
