#include "platform/linux/tray/StatusIcon.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

namespace vellumix::linux_desktop {

namespace {

constexpr int sides[] = {16, 22, 24, 32, 48};

// Lengths are in sides of the picture; y points down.
struct Point {
    double x = 0;
    double y = 0;
};
struct Ring {
    Point centre;
    double radius = 0;
};
struct Line {
    Point from;
    Point to;
};

constexpr Ring handles[] = {{{0.32, 0.69}, 0.115}, {{0.68, 0.69}, 0.115}};
constexpr Line blades[] = {{{0.38, 0.59}, {0.66, 0.19}}, {{0.62, 0.59}, {0.34, 0.19}}};
constexpr double strokeWidth = 0.085;
constexpr double cornerRadius = 0.24;

// Levels of grey. The ground keeps the strokes readable on a light panel, its edge keeps it apart from a dark
// one.
constexpr double strokeLevel = 0.98;
constexpr double groundLevel = 0.17;
constexpr double edgeLevel = 0.42;
/// In pixels, so that it stays a thin line in every size.
constexpr double edgeWidth = 1;

double distance(Point p, const Ring& ring) {
    return std::abs(std::hypot(p.x - ring.centre.x, p.y - ring.centre.y) - ring.radius);
}

double distance(Point p, const Line& line) {
    const Point along{line.to.x - line.from.x, line.to.y - line.from.y};
    const double squaredLength = along.x * along.x + along.y * along.y;
    const double part = ((p.x - line.from.x) * along.x + (p.y - line.from.y) * along.y) / squaredLength;
    const double inside = std::clamp(part, 0.0, 1.0);
    return std::hypot(p.x - line.from.x - inside * along.x, p.y - line.from.y - inside * along.y);
}

double distanceToScissors(Point p) {
    return std::min(
        {distance(p, handles[0]), distance(p, handles[1]), distance(p, blades[0]), distance(p, blades[1])});
}

/// Negative inside.
double distanceToGround(Point p) {
    const double inner = 0.5 - cornerRadius;
    const double x = std::abs(p.x - 0.5) - inner, y = std::abs(p.y - 0.5) - inner;
    return std::hypot(std::max(x, 0.0), std::max(y, 0.0)) + std::min(std::max(x, y), 0.0) - cornerRadius;
}

/// How much of a pixel a shape covers whose border is that many pixels from the pixel's centre.
double coverage(double distance) { return std::clamp(0.5 - distance, 0.0, 1.0); }

std::uint8_t byte(double part) { return static_cast<std::uint8_t>(std::lround(part * 255)); }

StatusIcon scissors(int side) {
    StatusIcon icon{.side = side, .pixels = {}};
    icon.pixels.reserve(std::size_t{4} * static_cast<std::size_t>(side) * static_cast<std::size_t>(side));
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const Point centre{(x + 0.5) / side, (y + 0.5) / side};
            const double toBorder = side * distanceToGround(centre);
            const double stroke = coverage(side * (distanceToScissors(centre) - strokeWidth / 2));
            const double ground = std::lerp(edgeLevel, groundLevel, coverage(toBorder + edgeWidth));
            const auto grey = byte(std::lerp(ground, strokeLevel, stroke));
            icon.pixels.insert(icon.pixels.end(), {byte(coverage(toBorder)), grey, grey, grey});
        }
    }
    return icon;
}

}  // namespace

std::optional<StatusIcon> statusIcon(std::string_view symbolName, int side) {
    if (symbolName != "scissors") return std::nullopt;
    return scissors(side);
}

std::vector<StatusIcon> statusIcons(std::string_view symbolName) {
    std::vector<StatusIcon> icons;
    for (const int side : sides) {
        if (auto icon = statusIcon(symbolName, side)) icons.push_back(std::move(*icon));
    }
    return icons;
}

}  // namespace vellumix::linux_desktop
