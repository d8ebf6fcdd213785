#pragma once

#include <algorithm>
#include <limits>

/// Lengths in points: device pixels divided by the scale. x grows to the right, y downwards.
namespace vellumix {

inline constexpr double unbounded = std::numeric_limits<double>::infinity();

struct Point {
    double x = 0;
    double y = 0;

    friend Point operator+(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }
    friend Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }
    friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
    double width = 0;
    double height = 0;

    friend bool operator==(const Size&, const Size&) = default;
};

struct Rect {
    Point origin;
    Size size;

    double minX() const { return origin.x; }
    double minY() const { return origin.y; }
    double maxX() const { return origin.x + size.width; }
    double maxY() const { return origin.y + size.height; }
    Point centre() const { return {origin.x + size.width / 2, origin.y + size.height / 2}; }
    bool isEmpty() const { return size.width <= 0 || size.height <= 0; }
    /// Without the right and bottom edges, so that neighbours share no point.
    bool contains(Point point) const {
        return point.x >= minX() && point.x < maxX() && point.y >= minY() && point.y < maxY();
    }
    Rect intersection(const Rect& other) const {
        const Point corner{std::max(minX(), other.minX()), std::max(minY(), other.minY())};
        return {corner,
                {std::max(0.0, std::min(maxX(), other.maxX()) - corner.x),
                 std::max(0.0, std::min(maxY(), other.maxY()) - corner.y)}};
    }
    Rect inset(double by) const {
        return {{origin.x + by, origin.y + by},
                {std::max(0.0, size.width - 2 * by), std::max(0.0, size.height - 2 * by)}};
    }

    friend bool operator==(const Rect&, const Rect&) = default;
};

/// Leading is left, or right where the text runs from right to left.
struct Insets {
    double top = 0;
    double leading = 0;
    double bottom = 0;
    double trailing = 0;

    static constexpr Insets all(double by) { return {by, by, by, by}; }

    friend bool operator==(const Insets&, const Insets&) = default;
};

}  // namespace vellumix
