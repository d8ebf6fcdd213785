#include "platform/view/paint/CairoImages.h"

#include <string>

namespace vellumix::view {

namespace {

/// Looks into the bitmap, which must outlive it.
handles::Surface surfaceOf(const Bitmap& bitmap) {
    return handles::Surface(cairo_image_surface_create_for_data(
        const_cast<unsigned char*>(bitmap.pixels.data()), CAIRO_FORMAT_ARGB32, bitmap.width, bitmap.height,
        bitmap.width * 4));
}

bool isComplete(const Bitmap& bitmap) {
    constexpr int largestSide = 32767;
    return bitmap.width > 0 && bitmap.height > 0 && bitmap.width <= largestSide &&
           bitmap.height <= largestSide &&
           bitmap.pixels.size() / 4 / static_cast<std::size_t>(bitmap.width) >=
               static_cast<std::size_t>(bitmap.height);
}

}  // namespace

std::shared_ptr<const handles::Surface> CairoImages::scaled(const std::shared_ptr<const Bitmap>& bitmap,
                                                            int width, int height) {
    constexpr int largestSide = 2048;
    if (!bitmap || !isComplete(*bitmap) || width < 1 || height < 1) return nullptr;
    const bool isOwnSize = bitmap->width == width && bitmap->height == height;
    if (isOwnSize || width > largestSide || height > largestSide)
        return std::make_shared<const handles::Surface>(surfaceOf(*bitmap));
    const auto& key = this->key.of(reinterpret_cast<std::uintptr_t>(bitmap.get()), width, height);
    if (const auto known = copies.objectForKey(key); known && known->source.lock() == bitmap)
        return known->surface;
    const auto source = surfaceOf(*bitmap);
    handles::Surface copy(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    const handles::Context context(cairo_create(copy.get()));
    cairo_scale(context.get(), static_cast<double>(width) / bitmap->width,
                static_cast<double>(height) / bitmap->height);
    cairo_set_source_surface(context.get(), source.get(), 0, 0);
    // The edges stay opaque, as nothing from outside is mixed in.
    cairo_pattern_set_extend(cairo_get_source(context.get()), CAIRO_EXTEND_PAD);
    cairo_pattern_set_filter(cairo_get_source(context.get()), CAIRO_FILTER_GOOD);
    cairo_set_operator(context.get(), CAIRO_OPERATOR_SOURCE);
    cairo_paint(context.get());
    auto surface = std::make_shared<const handles::Surface>(std::move(copy));
    copies.setObject(std::make_shared<const Copy>(Copy{bitmap, surface}), key,
                     static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    return surface;
}

}  // namespace vellumix::view
