#include "platform/view/paint/CairoSurface.h"

#include <cstring>

namespace vellumix::view {

CairoSurface::CairoSurface(int width, int height)
    : surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)) {}

CairoSurface::CairoSurface(std::span<std::uint8_t> memory, int width, int height, int stride) {
    const bool fits = width > 0 && height > 0 && stride >= 4 * static_cast<std::int64_t>(width) &&
                      memory.size() / static_cast<std::size_t>(stride) >= static_cast<std::size_t>(height);
    surface.reset(
        fits ? cairo_image_surface_create_for_data(memory.data(), CAIRO_FORMAT_ARGB32, width, height, stride)
             : cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 0, 0));
}

std::span<const std::uint8_t> CairoSurface::pixels() const {
    cairo_surface_flush(surface.get());
    const auto* first = cairo_image_surface_get_data(surface.get());
    if (!first) return {};
    return {first, static_cast<std::size_t>(stride()) * static_cast<std::size_t>(height())};
}

std::uint32_t CairoSurface::pixelAt(int x, int y) const {
    if (x < 0 || y < 0 || x >= width() || y >= height()) return 0;
    const auto at =
        static_cast<std::size_t>(y) * static_cast<std::size_t>(stride()) + 4 * static_cast<std::size_t>(x);
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, pixels().data() + at, sizeof pixel);
    return pixel;
}

bool writePNG(const CairoSurface& surface, const std::string& path) {
    return cairo_surface_write_to_png(surface.handle(), path.c_str()) == CAIRO_STATUS_SUCCESS;
}

}  // namespace vellumix::view
