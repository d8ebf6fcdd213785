#include "platform/view/SymbolMasks.h"

#include <cmath>

#include "platform/view/Symbols.h"

namespace vellumix::view {

namespace {

/// The drawing with outlines of another width.
std::string withStrokeWidth(std::string_view svg, double width) {
    constexpr std::string_view written = "stroke-width=\"2\"";
    std::string text(svg);
    const auto at = text.find(written);
    // In thousandths, so that no locale has a say in the decimal point.
    if (at != std::string::npos) {
        const auto thousandths = std::to_string(std::lround(width * 1000) + 10000);
        text.replace(at, written.size(),
                     "stroke-width=\"" + thousandths.substr(1, 1) + "." + thousandths.substr(2) + "\"");
    }
    return text;
}

handles::Surface drawn(const std::string& svg, int side) {
    const handles::Object<RsvgHandle> drawing(
        rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.data()), svg.size(), nullptr));
    handles::Surface surface(cairo_image_surface_create(CAIRO_FORMAT_A8, side, side));
    if (!drawing) return surface;
    const handles::Context context(cairo_create(surface.get()));
    const RsvgRectangle box{0, 0, static_cast<double>(side), static_cast<double>(side)};
    rsvg_handle_render_document(drawing.get(), context.get(), &box, nullptr);
    return surface;
}

}  // namespace

std::shared_ptr<const handles::Surface> SymbolMasks::mask(std::string_view name, int side, double points,
                                                          Font::Weight weight) {
    constexpr int largestSide = 1024;
    if (side < 1 || side > largestSide) return nullptr;
    const double width = symbolStrokeWidth(weight, points);
    const std::string key =
        std::string(name) + ' ' + std::to_string(side) + ' ' + std::to_string(std::lround(width * 1000));
    if (auto known = _masks.objectForKey(key)) return known;
    const auto drawing = symbolDrawing(name);
    if (!drawing) return nullptr;
    auto mask = std::make_shared<const handles::Surface>(drawn(withStrokeWidth(*drawing, width), side));
    _masks.setObject(mask, key, static_cast<std::size_t>(side) * static_cast<std::size_t>(side));
    return mask;
}

}  // namespace vellumix::view
