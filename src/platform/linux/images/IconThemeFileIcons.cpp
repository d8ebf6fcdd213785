#include "platform/linux/images/IconThemeFileIcons.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <span>
#include <utility>

#include "platform/foundation/promises/Describing.h"
#include "platform/foundation/promises/MainThread.h"
#include "platform/linux/images/PixbufLoading.h"

namespace vellumix::linux_desktop {

namespace {

constexpr std::size_t bytesKept = std::size_t{1024} * 1024;
/// For an icon of which nothing but its absence is kept.
constexpr std::size_t leastCost = 256;
constexpr std::uintmax_t largestFile = std::uintmax_t{4} * 1024 * 1024;

std::vector<std::string> iconNamesOf(const std::string& type) {
    const glib::Object<GIcon> icon(g_content_type_get_icon(type.c_str()));
    std::vector<std::string> names;
    if (!G_IS_THEMED_ICON(icon.get())) return names;
    for (const auto* name = g_themed_icon_get_names(G_THEMED_ICON(icon.get())); *name; ++name)
        names.emplace_back(*name);
    return names;
}

ImageDecoder::PixelSize sizeWithin(int pixels, ImageDecoder::PixelSize size) {
    const double scale = 1.0 * pixels / std::max(size.width, size.height);
    const auto side = [scale](int length) {
        return std::max(1, static_cast<int>(std::lround(scale * length)));
    };
    return {side(size.width), side(size.height)};
}

glib::Object<GdkPixbuf> load(const IconTheme::File& file, int pixels) {
    std::error_code error;
    const auto size = std::filesystem::file_size(file.path, error);
    if (error || size > largestFile) return nullptr;
    glib::Text content;
    gsize length = 0;
    if (!g_file_get_contents(file.path.c_str(), glib::Out(content), &length, nullptr)) return nullptr;
    const ByteView bytes(reinterpret_cast<const std::uint8_t*>(content.get()), length);
    return loadPixbuf({.loader = file.format, .bytes = Data(bytes)},
                      [pixels](ImageDecoder::PixelSize image) { return sizeWithin(pixels, image); });
}

/// In the middle of a square, as large as fits.
std::shared_ptr<const Bitmap> squareOf(GdkPixbuf* picture, int pixels) {
    const ImageDecoder::PixelSize size{gdk_pixbuf_get_width(picture), gdk_pixbuf_get_height(picture)};
    if (size.width == pixels && size.height == pixels) return bitmapOf(picture);
    constexpr int bitsASample = 8;
    const glib::Object<GdkPixbuf> square(
        gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, bitsASample, pixels, pixels));
    if (!square) return nullptr;
    gdk_pixbuf_fill(square.get(), 0);
    const auto fitted = sizeWithin(pixels, size);
    const int left = (pixels - fitted.width) / 2, top = (pixels - fitted.height) / 2;
    gdk_pixbuf_scale(picture, square.get(), left, top, fitted.width, fitted.height, left, top,
                     1.0 * fitted.width / size.width, 1.0 * fitted.height / size.height, GDK_INTERP_BILINEAR);
    return bitmapOf(square.get());
}

std::shared_ptr<const Bitmap> iconOfType(const IconTheme& theme, const std::string& type, int pixels) {
    const auto names = iconNamesOf(type);
    const std::string formats[] = {"png", "svg"};
    // Where gdk-pixbuf has no loader for drawings, there may still be a picture.
    for (const auto count : {std::size(formats), std::size_t{1}}) {
        const auto file = theme.find(names, pixels, std::span(formats).first(count));
        if (!file) return nullptr;
        if (const auto picture = load(*file, pixels)) return squareOf(picture.get(), pixels);
    }
    return nullptr;
}

}  // namespace

IconThemeFileIcons::IconThemeFileIcons(RunLoop& runLoop, Sources sources)
    : sources(std::move(sources)), folders(runLoop), known(0, bytesKept) {}

std::shared_ptr<const Bitmap> IconThemeFileIcons::iconForFile(const URL& file, int pixels) {
    assertMainThread();
    assertNotDescribing("an icon was read");
    const auto path = file.path();
    if (pixels < 1 || pixels > largestSide || path.empty()) return nullptr;
    const glib::Text type(folders.isFolder(path) ? g_strdup("inode/directory")
                                                 : g_content_type_guess(path.c_str(), nullptr, 0, nullptr));
    const auto& icons = theme();
    const auto key = themeName + '/' + type.get() + '/' + std::to_string(pixels);
    if (const auto known = this->known.objectForKey(key)) return known->icon;
    const Known fresh{.icon = iconOfType(icons, type.get(), pixels)};
    const auto cost = leastCost + (fresh.icon ? fresh.icon->pixels.size() : 0);
    this->known.setObject(std::make_shared<const Known>(fresh), key, cost);
    return fresh.icon;
}

const IconTheme& IconThemeFileIcons::theme() {
    auto name = sources.themeName().value_or("");
    if (!theme_ || name != themeName) {
        theme_.emplace(sources.folders, std::vector<std::string>{name, "Adwaita"});
        themeName = std::move(name);
    }
    return *theme_;
}

}  // namespace vellumix::linux_desktop
