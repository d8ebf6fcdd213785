#include "platform/view/paint/CairoShape.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace vellumix::view {

namespace {

constexpr double right = std::numbers::pi / 2;
/// How much of a corner's turn is taken from its arc and given to the curves that lead into it.
constexpr double smoothing = 0.6;

/// One corner, in its own coordinates: the corner at the origin, the sides along the axes. It comes in along
/// x, goes through a curve of growing curvature into an arc, and out along y in the same way, mirrored.
struct Corner {
    double extent = 0;
    /// The control points and the end of the curve: along the side, and away from it.
    double firstControl = 0;
    double secondControl = 0;
    Point end;
    /// Of the arc, from its start to the middle of the corner.
    double halfAngle = 0;
};

Corner cornerOf(double radius, double room) {
    Corner corner;
    // Short sides have no room for the curves; a quarter of a circle remains.
    const double share = radius > 0 ? std::clamp(room / radius - 1, 0.0, smoothing) : 0.0;
    corner.extent = (1 + share) * radius;
    // The arc loses the angle `lead` at either end.
    const double lead = right / 2 * share;
    corner.halfAngle = right / 2 - lead;
    corner.end = {radius * (1 - std::sin(lead)), radius * (1 - std::cos(lead))};
    // The last control point lies on the tangent of the arc's start and on the side, so that direction and
    // side are kept; the first divides the rest two to one, which lets the curvature start from nothing.
    const double tangent = share > 0 ? corner.end.y / std::tan(lead) : 0.0;
    corner.secondControl = corner.end.x + tangent;
    corner.firstControl = corner.extent - (corner.extent - corner.secondControl) * 2 / 3;
    return corner;
}

void appendCorner(cairo_t* context, const Corner& corner, double radius) {
    // Against the direction of the axes' names: in along x from far to near, out along y.
    if (corner.extent > radius)
        cairo_curve_to(context, corner.firstControl, 0, corner.secondControl, 0, corner.end.x, corner.end.y);
    const double middle = -right - right / 2;
    cairo_arc_negative(context, radius, radius, radius, middle + corner.halfAngle, middle - corner.halfAngle);
    if (corner.extent > radius)
        cairo_curve_to(context, 0, corner.secondControl, 0, corner.firstControl, 0, corner.extent);
}

void appendRounded(cairo_t* context, const Rect& rect, double radius) {
    const double room = std::min(rect.size.width, rect.size.height) / 2;
    const double cut = std::min(radius, room);
    const auto corner = cornerOf(cut, room);
    // Each corner in its own turned coordinates, so that all four are alike; backwards round the shape.
    struct Place {
        Point at;
        double angle;
    };
    const std::array places{Place{{rect.minX(), rect.minY()}, 0}, Place{{rect.minX(), rect.maxY()}, -right},
                            Place{{rect.maxX(), rect.maxY()}, 2 * right},
                            Place{{rect.maxX(), rect.minY()}, right}};
    cairo_new_sub_path(context);
    for (const auto& place : places) {
        cairo_matrix_t before;
        cairo_get_matrix(context, &before);
        cairo_translate(context, place.at.x, place.at.y);
        cairo_rotate(context, place.angle);
        cairo_line_to(context, corner.extent, 0);
        appendCorner(context, corner, cut);
        cairo_set_matrix(context, &before);
    }
    cairo_close_path(context);
}

void appendEllipse(cairo_t* context, const Rect& rect) {
    cairo_matrix_t before;
    cairo_get_matrix(context, &before);
    cairo_translate(context, rect.centre().x, rect.centre().y);
    cairo_scale(context, rect.size.width / 2, rect.size.height / 2);
    cairo_new_sub_path(context);
    cairo_arc(context, 0, 0, 1, 0, 4 * right);
    cairo_close_path(context);
    cairo_set_matrix(context, &before);
}

}  // namespace

void appendShape(cairo_t* context, const Rect& rect, const Shape& shape) {
    if (rect.isEmpty()) return;
    switch (shape.kind) {
        case Shape::Kind::rectangle:
            break;
        case Shape::Kind::roundedRectangle:
            if (shape.radius > 0) return appendRounded(context, rect, shape.radius);
            break;
        case Shape::Kind::capsule:
            return appendRounded(context, rect, unbounded);
        case Shape::Kind::ellipse:
            return appendEllipse(context, rect);
    }
    cairo_rectangle(context, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}

double cornerExtent(const Size& size, const Shape& shape) {
    const double room = std::min(size.width, size.height) / 2;
    switch (shape.kind) {
        case Shape::Kind::rectangle:
            return 0;
        case Shape::Kind::roundedRectangle:
            return shape.radius > 0 ? cornerOf(std::min(shape.radius, room), room).extent : 0;
        case Shape::Kind::capsule:
            return room;
        case Shape::Kind::ellipse:
            return std::max(size.width, size.height) / 2;
    }
    return 0;
}

}  // namespace vellumix::view
