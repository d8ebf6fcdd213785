#include "platform/view/windows/WindowDrag.h"

#include <cmath>

namespace vellumix::view {

ResizeEdges resizeEdgesAt(Point at, const Rect& frame) {
    constexpr double reach = 6;
    constexpr double corner = 14;
    if (!frame.inset(-reach).contains(at)) return {};
    const auto edges = [&](double distance) {
        return ResizeEdges{at.x < frame.minX() + distance, at.x >= frame.maxX() - distance,
                           at.y < frame.minY() + distance, at.y >= frame.maxY() - distance};
    };
    // A round corner lies well inside of the rectangle's, so that the whole square there is one.
    const auto wide = edges(corner);
    const bool isCorner = (wide.left || wide.right) && (wide.top || wide.bottom);
    return isCorner ? wide : edges(reach);
}

Cursor resizeCursor(const ResizeEdges& edges) {
    if ((edges.left && edges.top) || (edges.right && edges.bottom)) return Cursor::resizeDiagonalDown;
    if ((edges.right && edges.top) || (edges.left && edges.bottom)) return Cursor::resizeDiagonalUp;
    if (edges.left || edges.right) return Cursor::resizeHorizontal;
    return edges.top || edges.bottom ? Cursor::resizeVertical : Cursor::arrow;
}

Rect WindowDrag::frameAt(Point pointer) const {
    const Point way{std::round(pointer.x - pressed.x), std::round(pointer.y - pressed.y)};
    if (!edges_.any()) return {frame.origin + way, frame.size};
    const auto resized = [](double origin, double length, bool atLow, bool atHigh, double by, double least,
                            double most) {
        const double wanted = length + (atHigh ? by : 0) - (atLow ? by : 0);
        const double taken = std::max(least, std::min(wanted, most));
        // The edge that isn't held stays where it is.
        return std::pair(atLow ? origin + length - taken : origin, atLow || atHigh ? taken : length);
    };
    const auto [x, width] = resized(frame.minX(), frame.size.width, edges_.left, edges_.right, way.x,
                                    manners.minSize.width, manners.maxSize.width);
    const auto [y, height] = resized(frame.minY(), frame.size.height, edges_.top, edges_.bottom, way.y,
                                     manners.minSize.height, manners.maxSize.height);
    return {{x, y}, {width, height}};
}

}  // namespace vellumix::view
