#pragma once

#include <optional>

#include "platform/desktop/Window.h"

namespace vellumix::view {

/// What the pointer may do with a window by its background and its edges.
struct WindowManners {
    bool isMovableByBackground = false;
    bool isResizable = false;
    /// Limits of the frame's size, which hold for resizing alone.
    Size minSize;
    Size maxSize{unbounded, unbounded};
};

/// Which edges of its frame a window is resized by; none moves it.
struct ResizeEdges {
    bool left = false;
    bool right = false;
    bool top = false;
    bool bottom = false;

    bool any() const { return left || right || top || bottom; }
};

/// The edges at a point: within 6 points of them on either side, and both that meet within 14 points of a
/// corner.
ResizeEdges resizeEdgesAt(Point at, const Rect& frame);
/// The arrow where there are none.
Cursor resizeCursor(const ResizeEdges& edges);

/// A window on its way with the pointer. All points are in the space of the monitors.
class WindowDrag {
public:
    WindowDrag(const Rect& frame, Point pressed, const ResizeEdges& edges, const WindowManners& manners)
        : frame(frame), pressed(pressed), edges_(edges), manners(manners) {}

    /// The window's frame now that the pointer is there.
    Rect frameAt(Point pointer) const;
    const ResizeEdges& edges() const { return edges_; }

private:
    Rect frame;
    Point pressed;
    ResizeEdges edges_;
    WindowManners manners;
};

}  // namespace vellumix::view
