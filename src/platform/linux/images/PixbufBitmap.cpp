#include "platform/linux/images/PixbufBitmap.h"

#include <cstdint>
#include <cstring>

namespace vellumix::linux_desktop {

namespace {

/// A colour under its coverage, rounded.
std::uint32_t premultiplied(std::uint32_t colour, std::uint32_t alpha) {
    return (colour * alpha + 127) / 255;
}

}  // namespace

std::shared_ptr<const Bitmap> bitmapOf(GdkPixbuf* pixbuf) {
    const auto width = static_cast<std::size_t>(gdk_pixbuf_get_width(pixbuf));
    const auto height = static_cast<std::size_t>(gdk_pixbuf_get_height(pixbuf));
    const auto channels = static_cast<std::size_t>(gdk_pixbuf_get_n_channels(pixbuf));
    const auto stride = static_cast<std::size_t>(gdk_pixbuf_get_rowstride(pixbuf));
    const auto* from = gdk_pixbuf_read_pixels(pixbuf);
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = static_cast<int>(width);
    bitmap->height = static_cast<int>(height);
    bitmap->pixels.resize(width * height * 4);
    auto* to = bitmap->pixels.data();
    for (std::size_t y = 0; y < height; ++y) {
        const auto* row = from + y * stride;
        for (std::size_t x = 0; x < width; ++x, row += channels, to += 4) {
            const std::uint32_t alpha = channels == 4 ? row[3] : 255;
            const std::uint32_t pixel = alpha << 24 | premultiplied(row[0], alpha) << 16 |
                                        premultiplied(row[1], alpha) << 8 | premultiplied(row[2], alpha);
            std::memcpy(to, &pixel, sizeof pixel);
        }
    }
    return bitmap;
}

}  // namespace vellumix::linux_desktop
