#include "platform/linux/PixbufDecoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "platform/linux/PixbufLoading.h"

namespace vellumix::linux_desktop {

namespace {

using PixelSize = ImageDecoder::PixelSize;

PixelSize sizeCovering(PixelSize image, PixelSize box) {
    const double pixels = 1.0 * image.width * image.height;
    const double covering = std::max(1.0 * box.width / image.width, 1.0 * box.height / image.height);
    const double scale = std::min({1.0, covering, std::sqrt(PixbufDecoder::resultLimit / pixels)});
    const auto side = [scale](int length) {
        return std::max(1, static_cast<int>(std::lround(scale * length)));
    };
    return {side(image.width), side(image.height)};
}

/// A colour under its coverage, rounded.
std::uint32_t premultiplied(std::uint32_t colour, std::uint32_t alpha) {
    return (colour * alpha + 127) / 255;
}

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

}  // namespace

std::optional<PixelSize> PixbufDecoder::sizeOf(const Data& encoded) { return sizeFromHead(encoded); }

std::shared_ptr<const Bitmap> PixbufDecoder::decode(const Data& encoded, PixelSize box) {
    const auto image = wholeImage(encoded);
    if (!image || box.width <= 0 || box.height <= 0) return nullptr;
    PixelSize stored;
    // Which way up it is to be comes only with the pixels, so the box is covered either way until then.
    const auto side = std::max(box.width, box.height);
    auto pixbuf = loadPixbuf(*image, [&](PixelSize size) {
        stored = size;
        return sizeCovering(size, {side, side});
    });
    if (!pixbuf) return nullptr;
    if (liesOnItsSide(pixbuf.get())) std::swap(box.width, box.height);
    const auto size = sizeCovering(stored, box);
    if (size != PixelSize{gdk_pixbuf_get_width(pixbuf.get()), gdk_pixbuf_get_height(pixbuf.get())}) {
        glib::Object<GdkPixbuf> scaled(
            gdk_pixbuf_scale_simple(pixbuf.get(), size.width, size.height, GDK_INTERP_BILINEAR));
        if (!scaled) return nullptr;
        gdk_pixbuf_copy_options(pixbuf.get(), scaled.get());
        pixbuf = std::move(scaled);
    }
    const glib::Object<GdkPixbuf> upright(gdk_pixbuf_apply_embedded_orientation(pixbuf.get()));
    return upright ? bitmapOf(upright.get()) : nullptr;
}

}  // namespace vellumix::linux_desktop
