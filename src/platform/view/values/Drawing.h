#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/desktop/Bitmap.h"
#include "platform/desktop/Geometry.h"
#include "platform/view/values/Style.h"
#include "platform/view/values/TextLayout.h"

namespace vellumix::view {

/// An outline. `radius` is cut to half of the shorter side.
struct Shape {
    enum class Kind {
        rectangle,
        /// Corners whose curvature grows without a step, as the eye prefers.
        roundedRectangle,
        capsule,
        ellipse,
    };
    Kind kind = Kind::rectangle;
    double radius = 0;

    friend bool operator==(const Shape&, const Shape&) = default;
};

/// What to draw, in order, in points. Recorded by layout, executed by a painter, printed by tests.
namespace draw {

struct Fill {
    Rect rect;
    Shape shape;
    Color color;
};
struct Stroke {
    Rect rect;
    Shape shape;
    Color color;
    /// Inside of the outline.
    double width = 1;
};
struct Shadow {
    Rect rect;
    Shape shape;
    Color color;
    Point offset;
    /// Twice the standard deviation of the blur.
    double radius = 0;
};
struct Text {
    Point origin;
    std::shared_ptr<const TextLayout> layout;
    Color color;
};
/// A symbol of the symbol set, tinted, fitted into the rectangle.
struct Symbol {
    Rect rect;
    std::string name;
    Color color;
    Font::Weight weight = Font::Weight::regular;
};
struct Image {
    /// Where all of the image goes; a clip cuts it.
    Rect rect;
    std::shared_ptr<const Bitmap> bitmap;
    double opacity = 1;
};
/// Until the matching `Pop`.
struct PushClip {
    Rect rect;
    Shape shape;
};
/// Everything until the matching `Pop` is drawn apart and laid over with this opacity, scaled and turned
/// about the point.
struct PushLayer {
    double opacity = 1;
    double scale = 1;
    Point centre;
    /// In radians, clockwise.
    double rotation = 0;
};
struct Pop {};

using Command = std::variant<Fill, Stroke, Shadow, Text, Symbol, Image, PushClip, PushLayer, Pop>;

}  // namespace draw

using DrawingList = std::vector<draw::Command>;

}  // namespace vellumix::view
