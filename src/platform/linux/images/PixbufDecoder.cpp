#include "platform/linux/images/PixbufDecoder.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/linux/images/PixbufLoading.h"

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
