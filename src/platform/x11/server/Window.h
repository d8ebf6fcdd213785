#pragma once

#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// A window that nobody sees: an address for selections and their properties, destroyed when this goes.
class Window {
public:
    explicit Window(Connection& connection);
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    xcb_window_t id() const { return id_; }

private:
    Connection& connection;
    xcb_window_t id_;
};

}  // namespace vellumix::x11
