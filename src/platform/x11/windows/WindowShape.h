#pragma once

#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// The parts of a rectangular window that are seen and that take the pointer (X Nonrectangular Window Shape
/// Extension 1.1). In pixels.
struct WindowShape {
    int width = 1;
    int height = 1;
    /// Of the corners that are cut off; 0 for a window that is seen whole.
    int cornerRadius = 0;
    /// So much along each edge lets the pointer through.
    int inputMargin = 0;
    bool takesPointer = true;

    void apply(Connection& connection, xcb_window_t window) const;
};

}  // namespace vellumix::x11
