#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/view/paint/CairoHandles.h"

namespace vellumix::view {

/// Pixels to paint on: premultiplied ARGB of 32 bits in native byte order, rows from top to bottom.
class CairoSurface {
public:
    /// In device pixels, clear at first. A size out of 1...32767 gives a surface on which nothing shows.
    CairoSurface(int width, int height);
    /// Paints into memory of the caller's that outlives the surface, such as memory shared with a display
    /// server. `stride` is in bytes, a multiple of 4, at least 4 * width.
    CairoSurface(std::span<std::uint8_t> memory, int width, int height, int stride);

    int width() const { return cairo_image_surface_get_width(surface.get()); }
    int height() const { return cairo_image_surface_get_height(surface.get()); }
    /// In bytes, from one row to the next.
    int stride() const { return cairo_image_surface_get_stride(surface.get()); }
    /// All rows; empty for a surface on which nothing shows. Valid until the next paint.
    std::span<const std::uint8_t> pixels() const;
    /// 0 outside.
    std::uint32_t pixelAt(int x, int y) const;

    cairo_surface_t* handle() const { return surface.get(); }

private:
    handles::Surface surface;
};

/// Whether the file was written.
bool writePNG(const CairoSurface& surface, const std::string& path);

}  // namespace vellumix::view
