#pragma once

#include <algorithm>
#include <cmath>
#include <optional>

#include "platform/view/tree/Node.h"
#include "platform/view/values/Drawing.h"

namespace vellumix::view {

/// Writes down what a tree looks like at one moment. Everything lies on whole device pixels.
class Recorder {
public:
    Recorder(DrawingList& list, const Rect& surface, double scale, double now)
        : list(list), clip(surface), scale(scale), now_(now) {}

    double now() const { return now_; }
    double pixel() const { return 1 / scale; }
    void add(draw::Command command) { list.push_back(std::move(command)); }
    /// Asks for a frame at that moment, which is later than now.
    void needFrameAt(double moment) {
        nextFrameAt_ = nextFrameAt_ ? std::min(*nextFrameAt_, moment) : moment;
    }
    std::optional<double> nextFrameAt() const { return nextFrameAt_; }
    Rect snapped(const Rect& rect) const;

    void record(Node& node, Point parentOrigin);
    /// The children, and over them those that are leaving.
    void recordChildren(Node& node);

    /// Draws within a shape. Children out of its rectangle are left out.
    template <class Draw>
    void clipped(const Rect& rect, const Shape& shape, Draw drawInside) {
        const auto outer = clip;
        clip = clip.intersection(rect);
        add(draw::PushClip{rect, shape});
        drawInside();
        add(draw::Pop{});
        clip = outer;
    }

    /// Whether the window has the keyboard; a caret shows nowhere else.
    bool hasKeyboard = true;
    /// The node whose focus shows, if any.
    const Node* focused = nullptr;
    /// Whether something to be seen is on its way out, or turns for as long as it is there.
    bool isMoving = false;

private:
    DrawingList& list;
    Rect clip;
    double scale;
    double now_;
    std::optional<double> nextFrameAt_;
};

}  // namespace vellumix::view
