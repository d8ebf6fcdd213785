#include "platform/linux/PixbufImages.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "platform/linux/GLibHandles.h"

namespace vellumix::linux_desktop {

namespace {

using namespace std::string_view_literals;

struct Encoding {
    const char* loader;
    std::string_view start;
    std::size_t nextAt = 0;
    std::string_view next = {};
};

constexpr std::array encodings{
    Encoding{"jpeg", "\xFF\xD8\xFF"sv}, Encoding{"tiff", "II*\0"sv},
    Encoding{"tiff", "MM\0*"sv},        Encoding{"bmp", "BM"sv},
    Encoding{"gif", "GIF8"sv},          Encoding{"webp", "RIFF"sv, 8, "WEBP"sv},
};

constexpr auto pngSignature = "\x89PNG\r\n\x1A\n"sv;
/// The last chunk of every PNG, behind its length: type and CRC.
constexpr auto pngEnd = "IEND\xAE\x42\x60\x82"sv;
// Width and height stand in the first chunk, which a complete PNG has.
constexpr std::size_t pngWidthAt = 16;
constexpr std::size_t pngHeightAt = 20;

bool isWithinLimit(std::uint64_t width, std::uint64_t height) {
    return width > 0 && height > 0 && height <= NSBitmapImageRep::pixelLimit / width;
}

std::uint64_t bigEndianAt(ByteView bytes, std::size_t place) {
    std::uint64_t value = 0;
    for (const auto byte : bytes.subspan(place, 4)) value = value << 8 | byte;
    return value;
}

/// A PNG is taken or refused as it is: its loader would make a picture of half a file. Bytes behind the end
/// aren't part of the picture and are left out.
std::optional<Data> wholePNG(const Data& encoded) {
    const auto text = asText(encoded);
    const auto end = text.find(pngEnd);
    if (end == std::string_view::npos) return std::nullopt;
    const auto picture = encoded.view().first(end + pngEnd.size());
    if (!isCompletePNG(picture)) return std::nullopt;
    if (!isWithinLimit(bigEndianAt(picture, pngWidthAt), bigEndianAt(picture, pngHeightAt)))
        return std::nullopt;
    return picture.size() == encoded.size() ? encoded : Data(picture);
}

std::uint64_t littleEndianAt(ByteView bytes, std::size_t place, std::size_t size) {
    std::uint64_t value = 0;
    for (auto end = place + size; end > place; --end) value = value << 8 | bytes[end - 1];
    return value;
}

/// Whether the rows of a bitmap (BITMAPFILEHEADER, BITMAPINFOHEADER) go beyond its bytes: its loader leaves
/// what is missing black. For packed rows the loader itself tells.
bool isCutBitmap(ByteView bytes) {
    constexpr std::size_t headersSize = 34;
    constexpr std::uint64_t oldestHeader = 12;
    constexpr std::uint64_t bitFields = 3;
    if (bytes.size() < headersSize) return true;
    const auto compression = littleEndianAt(bytes, 30, 4);
    if (littleEndianAt(bytes, 14, 4) == oldestHeader || (compression != 0 && compression != bitFields))
        return false;
    const auto width = littleEndianAt(bytes, 18, 4);
    // Negative where the rows go from top to bottom.
    const auto height =
        std::abs(static_cast<std::int64_t>(static_cast<std::int32_t>(littleEndianAt(bytes, 22, 4))));
    const auto row = (width * littleEndianAt(bytes, 28, 2) + 31) / 32 * 4;
    const auto room = bytes.size() - std::min<std::uint64_t>(littleEndianAt(bytes, 10, 4), bytes.size());
    return height != 0 && row > room / static_cast<std::uint64_t>(height);
}

/// Whether a JPEG lacks its end (ITU-T T.81 table B.1, EOI): its loader paints what is missing grey. The two
/// markers can't occur in the data between them, and those of a small picture inside come before both.
bool isCutJPEG(std::string_view text) {
    const auto scan = text.rfind("\xFF\xDA");
    const auto end = text.rfind("\xFF\xD9");
    return scan == std::string_view::npos || end == std::string_view::npos || end < scan;
}

bool isCut(std::string_view loader, const Data& encoded) {
    return (loader == "bmp" && isCutBitmap(encoded)) || (loader == "jpeg" && isCutJPEG(asText(encoded)));
}

const char* loaderFor(std::string_view text) {
    const auto found = std::find_if(encodings.begin(), encodings.end(), [&](const Encoding& encoding) {
        return text.starts_with(encoding.start) && text.size() > encoding.nextAt &&
               text.substr(encoding.nextAt).starts_with(encoding.next);
    });
    return found == encodings.end() ? nullptr : found->loader;
}

/// Called before the loader allocates the pixels; an empty size makes it give up.
void refuseLarge(GdkPixbufLoader* loader, int width, int height, gpointer isRefused) {
    if (isWithinLimit(static_cast<std::uint64_t>(std::max(width, 0)),
                      static_cast<std::uint64_t>(std::max(height, 0))))
        return;
    *static_cast<bool*>(isRefused) = true;
    gdk_pixbuf_loader_set_size(loader, 0, 0);
}

glib::Object<GdkPixbuf> decode(const char* loaderName, ByteView bytes) {
    // In steps, so that a refusal after the header ends the reading there.
    constexpr std::size_t step = 64 * 1024;
    bool isRefused = false;
    const glib::Loader loader(gdk_pixbuf_loader_new_with_type(loaderName, nullptr));
    if (!loader) return nullptr;
    g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(refuseLarge), &isRefused);
    while (!bytes.empty() && !isRefused) {
        const auto part = bytes.first(std::min(step, bytes.size()));
        if (!gdk_pixbuf_loader_write(loader.get(), part.data(), part.size(), nullptr)) return nullptr;
        bytes = bytes.subspan(part.size());
    }
    // Only the end of the reading tells that a picture is whole.
    if (isRefused || !gdk_pixbuf_loader_close(loader.get(), nullptr) || isRefused) return nullptr;
    const auto pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
    return pixbuf ? glib::Object<GdkPixbuf>(GDK_PIXBUF(g_object_ref(pixbuf))) : nullptr;
}

std::optional<Data> encodePNG(GdkPixbuf* pixbuf) {
    Bytes png;
    const auto append = [](const gchar* bytes, gsize size, GError**, gpointer target) -> gboolean {
        auto& out = *static_cast<Bytes*>(target);
        vellumix::append(out, {reinterpret_cast<const std::uint8_t*>(bytes), size});
        return TRUE;
    };
    if (!gdk_pixbuf_save_to_callback(pixbuf, append, &png, "png", nullptr, nullptr)) return std::nullopt;
    return Data(std::move(png));
}

}  // namespace

std::optional<Data> PixbufImages::pngRepresentation(const Data& encoded) {
    const auto text = asText(encoded);
    if (text.starts_with(pngSignature)) return wholePNG(encoded);
    const auto loader = loaderFor(text);
    if (!loader || isCut(loader, encoded)) return std::nullopt;
    const auto pixbuf = decode(loader, encoded);
    if (!pixbuf) return std::nullopt;
    return encodePNG(pixbuf.get());
}

}  // namespace vellumix::linux_desktop
