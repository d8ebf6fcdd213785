#pragma once

#include "platform/desktop/Window.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// Tells the window manager and the compositor what a new window is (ICCCM 2.0 section 4.1.2, EWMH 1.5).
void describeWindow(Connection& connection, xcb_window_t window, const NSWindow::Options& options);

/// Keeps the size of a managed window, in pixels, and asks for the place it was given.
void fixSize(Connection& connection, xcb_window_t window, std::uint32_t width, std::uint32_t height);
/// Asks whoever embeds the window for that many pixels at least.
void askForSize(Connection& connection, xcb_window_t window, std::uint32_t width, std::uint32_t height);

}  // namespace vellumix::x11
