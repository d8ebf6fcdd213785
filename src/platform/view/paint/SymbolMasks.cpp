#include "platform/view/paint/SymbolMasks.h"

#include <cmath>

#include "platform/view/paint/SymbolOutlines.h"
#include "platform/view/values/Symbols.h"

namespace vellumix::view {

namespace {

handles::Surface drawn(std::span<const SymbolOutline> outlines, double strokeWidth, int side) {
    constexpr double units = 24;
    handles::Surface surface(cairo_image_surface_create(CAIRO_FORMAT_A8, side, side));
    const handles::Context context(cairo_create(surface.get()));
    cairo_scale(context.get(), side / units, side / units);
    drawSymbolOutlines(context.get(), outlines, strokeWidth);
    cairo_surface_flush(surface.get());
    return surface;
}

}  // namespace

std::shared_ptr<const handles::Surface> SymbolMasks::mask(std::string_view name, int side, double points,
                                                          Font::Weight weight) {
    constexpr int largestSide = 1024;
    if (side < 1 || side > largestSide) return nullptr;
    const double width = symbolStrokeWidth(weight, points);
    const auto& key = this->key.of(name, side, std::lround(width * 1000));
    if (auto known = masks.objectForKey(key)) return known;
    const auto outlines = symbolOutlines(name);
    if (outlines.empty()) return nullptr;
    auto mask = std::make_shared<const handles::Surface>(drawn(outlines, width, side));
    masks.setObject(mask, key, static_cast<std::size_t>(side) * static_cast<std::size_t>(side));
    return mask;
}

}  // namespace vellumix::view
