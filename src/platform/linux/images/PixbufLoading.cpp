#include "platform/linux/images/PixbufLoading.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>

#include "platform/desktop/BitmapImageRep.h"

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

bool isWithinLimit(const PNGSize& size, ByteView encoded) {
    return NSBitmapImageRep::isWithinPixelLimit(size.width, size.height, encoded.size());
}

/// Seconds that this thread has used.
double processorTime() {
    std::timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// A PNG is taken or refused as it is: its loader would make a picture of half a file. Bytes behind the end
/// aren't part of the picture and are left out.
std::optional<Data> wholePNG(const Data& encoded) {
    const auto text = asText(encoded);
    const auto end = text.find(pngEnd);
    if (end == std::string_view::npos) return std::nullopt;
    const auto picture = encoded.view().first(end + pngEnd.size());
    if (!isCompletePNG(picture) || !isWithinLimit(*pngSize(picture), picture)) return std::nullopt;
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

/// One run of a loader over bytes, in steps, so that it ends as soon as it has told what was asked.
class Loading {
public:
    explicit Loading(std::string_view loader)
        : loader(gdk_pixbuf_loader_new_with_type(std::string(loader).c_str(), nullptr)) {
        if (!this->loader) return;
        g_signal_connect(this->loader.get(), "size-prepared", G_CALLBACK(didLearnSize), this);
        g_signal_connect(this->loader.get(), "area-prepared", G_CALLBACK(didPrepareArea), this);
    }

    /// Answers with an empty size to refuse the image.
    SizeChoice chooseSize;
    /// Ends as soon as there is a picture, whose pixels are still to come.
    bool needsHeadOnly = false;
    double seconds = decodingSeconds;

    /// False for what can't be decoded, at the deadline, and at an early end.
    bool read(ByteView bytes) {
        // Small, as one step can hold the work of many seconds.
        constexpr std::size_t step = std::size_t{4} * 1024;
        if (!loader) return false;
        byteCount = bytes.size();
        const auto deadline = processorTime() + seconds;
        while (!bytes.empty() && !isAtEnd) {
            if (processorTime() > deadline) return false;
            const auto part = bytes.first(std::min(step, bytes.size()));
            if (!gdk_pixbuf_loader_write(loader.get(), part.data(), part.size(), nullptr)) return false;
            bytes = bytes.subspan(part.size());
        }
        // Only the end of the reading tells that a picture is whole.
        return !isAtEnd && gdk_pixbuf_loader_close(loader.get(), nullptr) && !isAtEnd;
    }
    GdkPixbuf* picture() const { return gdk_pixbuf_loader_get_pixbuf(loader.get()); }
    bool liesOnItsSide() const { return liesOnItsSide_; }

private:
    /// Called before the loader allocates the pixels; an empty size makes it give up.
    static void didLearnSize(GdkPixbufLoader* loader, int width, int height, gpointer data) {
        auto& self = *static_cast<Loading*>(data);
        const bool isAllowed = NSBitmapImageRep::isWithinPixelLimit(
            static_cast<std::uint64_t>(std::max(width, 0)), static_cast<std::uint64_t>(std::max(height, 0)),
            self.byteCount);
        const auto size = !isAllowed        ? ImageDecoder::PixelSize()
                          : self.chooseSize ? self.chooseSize({width, height})
                                            : ImageDecoder::PixelSize{width, height};
        if (size.width == 0 || size.height == 0) self.isAtEnd = true;
        gdk_pixbuf_loader_set_size(loader, size.width, size.height);
    }
    static void didPrepareArea(GdkPixbufLoader*, gpointer data) {
        auto& self = *static_cast<Loading*>(data);
        if (!self.needsHeadOnly) return;
        self.liesOnItsSide_ = linux_desktop::liesOnItsSide(self.picture());
        self.isAtEnd = true;
    }

    glib::Loader loader;
    std::size_t byteCount = 0;
    bool isAtEnd = false;
    bool liesOnItsSide_ = false;
};

/// A colour under its coverage, rounded.
std::uint32_t premultiplied(std::uint32_t colour, std::uint32_t alpha) {
    return (colour * alpha + 127) / 255;
}

}  // namespace

bool liesOnItsSide(GdkPixbuf* pixbuf) {
    const char* orientation = gdk_pixbuf_get_option(pixbuf, "orientation");
    return orientation && *orientation >= '5' && *orientation <= '8';
}

std::optional<WholeImage> wholeImage(const Data& encoded) {
    const auto text = asText(encoded);
    if (text.starts_with(pngSignature)) {
        auto png = wholePNG(encoded);
        if (!png) return std::nullopt;
        return WholeImage{.loader = "png", .bytes = std::move(*png)};
    }
    const auto loader = loaderFor(text);
    if (!loader || isCut(loader, encoded)) return std::nullopt;
    return WholeImage{.loader = loader, .bytes = encoded};
}

glib::Object<GdkPixbuf> loadPixbuf(const WholeImage& image, const SizeChoice& chooseSize, double seconds) {
    Loading loading(image.loader);
    loading.seconds = seconds;
    loading.chooseSize = chooseSize;
    if (!loading.read(image.bytes)) return nullptr;
    const auto pixbuf = loading.picture();
    return pixbuf ? glib::Object<GdkPixbuf>(GDK_PIXBUF(g_object_ref(pixbuf))) : nullptr;
}

std::optional<ImageDecoder::PixelSize> sizeFromHead(const Data& encoded) {
    const auto text = asText(encoded);
    if (text.starts_with(pngSignature)) {
        const auto size = pngSize(encoded);
        if (!size || !isWithinLimit(*size, encoded)) return std::nullopt;
        return ImageDecoder::PixelSize{static_cast<int>(size->width), static_cast<int>(size->height)};
    }
    const auto name = loaderFor(text);
    if (!name) return std::nullopt;
    const std::string_view loader = name;
    std::optional<ImageDecoder::PixelSize> found;
    Loading loading(loader);
    // The orientation of a JPEG comes with its picture: the smallest that its loader makes.
    loading.needsHeadOnly = loader == "jpeg";
    loading.chooseSize = [&](ImageDecoder::PixelSize size) {
        found = size;
        return loading.needsHeadOnly ? ImageDecoder::PixelSize{1, 1} : ImageDecoder::PixelSize();
    };
    loading.read(encoded);
    if (found && loading.liesOnItsSide()) std::swap(found->width, found->height);
    return found;
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

}  // namespace vellumix::linux_desktop
