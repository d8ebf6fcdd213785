#include "platform/x11/windows/WindowShape.h"

#include <xcb/shape.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace vellumix::x11 {

namespace {

xcb_rectangle_t rectangle(int x, int y, int width, int height) {
    return {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
            static_cast<std::uint16_t>(std::max(width, 0)), static_cast<std::uint16_t>(std::max(height, 0))};
}

/// A rectangle with round corners, row by row where they are.
std::vector<xcb_rectangle_t> roundedRows(int width, int height, int radius) {
    radius = std::clamp(radius, 0, std::min(width, height) / 2);
    std::vector<xcb_rectangle_t> rows;
    const auto add = [&](int inset, int y, int rowHeight) {
        rows.push_back(rectangle(inset, y, width - 2 * inset, rowHeight));
    };
    const auto insetOf = [&](int row) {
        const double rise = radius - row - 0.5;
        return radius - static_cast<int>(std::lround(std::sqrt(radius * double(radius) - rise * rise)));
    };
    for (int row = 0; row < radius; ++row) add(insetOf(row), row, 1);
    if (height > 2 * radius) add(0, radius, height - 2 * radius);
    for (int row = radius - 1; row >= 0; --row) add(insetOf(row), height - 1 - row, 1);
    return rows;
}

}  // namespace

void WindowShape::apply(Connection& connection, xcb_window_t window) const {
    auto* const xcb = connection.xcb();
    if (cornerRadius == 0) {
        xcb_shape_mask(xcb, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, window, 0, 0, XCB_NONE);
    } else {
        const auto rows = roundedRows(width, height, cornerRadius);
        xcb_shape_rectangles(xcb, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED, window,
                             0, 0, static_cast<std::uint32_t>(rows.size()), rows.data());
    }
    const auto input = rectangle(inputMargin, inputMargin, width - 2 * inputMargin, height - 2 * inputMargin);
    xcb_shape_rectangles(xcb, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, window, 0, 0,
                         takesPointer ? 1 : 0, &input);
}

}  // namespace vellumix::x11
