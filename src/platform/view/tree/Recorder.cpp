#include "platform/view/tree/Recorder.h"

#include "platform/view/tree/TransitionElement.h"

namespace vellumix::view {

Rect Recorder::snapped(const Rect& rect) const {
    const auto whole = [this](double length) { return std::round(length * scale) / scale; };
    const Point corner{whole(rect.minX()), whole(rect.minY())};
    return {corner, {whole(rect.maxX()) - corner.x, whole(rect.maxY()) - corner.y}};
}

void Recorder::record(Node& node, Point parentOrigin) {
    if (node.isParked) {
        node.isOutOfSight = true;
        return;
    }
    const auto rect = node.frame.at(now_);
    node.drawnOrigin = parentOrigin + rect.origin;
    node.drawn = snapped({node.drawnOrigin, rect.size});
    node.visible = node.drawn.intersection(clip);
    node.isOutOfSight = !node.drawn.isEmpty() && node.visible.isEmpty();
    if (node.isOutOfSight) return;
    node.element->record(node, *this);
    const auto& ring = node.environment->focusRing;
    if (&node != focused || !ring) return;
    constexpr double gap = 1;
    constexpr double width = 2;
    add(draw::Stroke{node.drawn.inset(-gap - width), *ring, node.environment->accent, width});
}

void Recorder::recordChildren(Node& node) {
    for (const auto& child : node.children) record(*child, node.drawnOrigin);
    std::erase_if(node.leaving, [this](const auto& child) { return hasLeft(*child, now_); });
    for (const auto& child : node.leaving) {
        isMoving = true;
        record(*child, node.drawnOrigin);
    }
}

}  // namespace vellumix::view
