#include "platform/linux/tray/StatusIcon.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "platform/view/paint/SymbolMasks.h"

namespace vellumix::linux_desktop {

namespace {

constexpr int sides[] = {16, 22, 24, 32, 48};

/// The side of the symbol's box, in sides of the picture.
constexpr double symbolPart = 0.75;
/// In sides of the picture.
constexpr double cornerRadius = 0.24;

// Levels of grey. The ground keeps the strokes readable on a light bar, its edge keeps it apart from a dark
// one.
constexpr double strokeLevel = 0.98;
constexpr double groundLevel = 0.17;
constexpr double edgeLevel = 0.42;
/// In pixels, so that it stays a thin line in every size.
constexpr double edgeWidth = 1;

/// Negative inside.
double distanceToGround(double px, double py) {
    const double inner = 0.5 - cornerRadius;
    const double x = std::abs(px - 0.5) - inner, y = std::abs(py - 0.5) - inner;
    return std::hypot(std::max(x, 0.0), std::max(y, 0.0)) + std::min(std::max(x, y), 0.0) - cornerRadius;
}

/// How much of a pixel a shape covers whose border is that many pixels from the pixel's centre.
double coverage(double distance) { return std::clamp(0.5 - distance, 0.0, 1.0); }

std::uint8_t byte(double part) { return static_cast<std::uint8_t>(std::lround(part * 255)); }

/// How much of a pixel the symbol covers, which stands in the middle of the picture.
double strokeAt(const view::handles::Surface& symbol, int side, int x, int y) {
    const int symbolSide = cairo_image_surface_get_width(symbol.get());
    const int margin = (side - symbolSide) / 2;
    const auto isOutside = [&](int at) { return at < margin || at >= margin + symbolSide; };
    if (isOutside(x) || isOutside(y)) return 0;
    const auto* row = cairo_image_surface_get_data(symbol.get()) +
                      (y - margin) * cairo_image_surface_get_stride(symbol.get());
    return row[x - margin] / 255.0;
}

}  // namespace

std::optional<StatusIcon> statusIcon(std::string_view symbolName, int side) {
    // As wide as text is at every size, as a tray is looked at from the corner of the eye.
    constexpr double points = 16;
    // As even as the side, so that both margins are whole pixels.
    const int symbolSide = side - 2 * static_cast<int>(std::lround(side * (1 - symbolPart) / 2));
    const auto symbol = view::SymbolMasks().mask(symbolName, symbolSide, points, view::Font::Weight::bold);
    if (!symbol) return std::nullopt;
    StatusIcon icon{.side = side, .pixels = {}};
    icon.pixels.reserve(std::size_t{4} * static_cast<std::size_t>(side) * static_cast<std::size_t>(side));
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const double toBorder = side * distanceToGround((x + 0.5) / side, (y + 0.5) / side);
            const double ground = std::lerp(edgeLevel, groundLevel, coverage(toBorder + edgeWidth));
            const auto grey = byte(std::lerp(ground, strokeLevel, strokeAt(*symbol, side, x, y)));
            icon.pixels.insert(icon.pixels.end(), {byte(coverage(toBorder)), grey, grey, grey});
        }
    }
    return icon;
}

std::vector<StatusIcon> statusIcons(std::string_view symbolName) {
    std::vector<StatusIcon> icons;
    for (const int side : sides) {
        if (auto icon = statusIcon(symbolName, side)) icons.push_back(std::move(*icon));
    }
    return icons;
}

}  // namespace vellumix::linux_desktop
