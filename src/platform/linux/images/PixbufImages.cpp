#include "platform/linux/images/PixbufImages.h"

#include <new>

#include "platform/linux/images/PixbufLoading.h"

namespace vellumix::linux_desktop {

namespace {

std::optional<Data> encodePNG(GdkPixbuf* pixbuf) {
    Bytes png;
    const auto append = [](const gchar* bytes, gsize size, GError**, gpointer target) -> gboolean {
        auto& out = *static_cast<Bytes*>(target);
        try {
            vellumix::append(out, {reinterpret_cast<const std::uint8_t*>(bytes), size});
            return TRUE;
        } catch (const std::bad_alloc&) {
            return FALSE;
        }
    };
    if (!gdk_pixbuf_save_to_callback(pixbuf, append, &png, "png", nullptr, nullptr)) return std::nullopt;
    return Data(std::move(png));
}

}  // namespace

std::optional<Data> PixbufImages::pngRepresentation(const Data& encoded) {
    const auto image = wholeImage(encoded);
    if (!image) return std::nullopt;
    if (image->isPNG()) return image->bytes;
    const auto pixbuf = loadPixbuf(*image);
    return pixbuf ? encodePNG(pixbuf.get()) : std::nullopt;
}

}  // namespace vellumix::linux_desktop
