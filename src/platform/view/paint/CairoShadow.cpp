#include "platform/view/paint/CairoShadow.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "platform/view/paint/CairoShape.h"

namespace vellumix::view {

namespace {

/// The width of one of three running means that together come near a Gaussian blur (Filter Effects Module
/// Level 1, section 9.4, feGaussianBlur).
int meanWidth(double deviation) {
    return static_cast<int>(std::floor(deviation * 3 * std::sqrt(2 * std::numbers::pi) / 4 + 0.5));
}

/// Replaces each of `count` bytes, `step` apart, by the mean of its neighbours.
void blurLine(std::uint8_t* first, int count, std::ptrdiff_t step, int width, int shift,
              std::vector<std::uint8_t>& copy) {
    for (int at = 0; at < count; ++at) copy[static_cast<std::size_t>(at)] = first[at * step];
    const auto value = [&](int at) {
        return at >= 0 && at < count ? static_cast<int>(copy[static_cast<std::size_t>(at)]) : 0;
    };
    const int before = width / 2 - shift;
    int sum = 0;
    for (int at = -before; at < width - before; ++at) sum += value(at);
    for (int at = 0; at < count; ++at) {
        first[at * step] = static_cast<std::uint8_t>((sum + width / 2) / width);
        sum += value(at + width - before) - value(at - before);
    }
}

void blur(cairo_surface_t* mask, double deviation) {
    const int width = meanWidth(deviation);
    if (width < 2) return;
    cairo_surface_flush(mask);
    auto* pixels = cairo_image_surface_get_data(mask);
    if (!pixels) return;
    const int columns = cairo_image_surface_get_width(mask);
    const int rows = cairo_image_surface_get_height(mask);
    const int stride = cairo_image_surface_get_stride(mask);
    std::vector<std::uint8_t> copy(static_cast<std::size_t>(std::max(columns, rows)));
    // A mean of even width lies half a pixel aside: one to either side, and a third of odd width.
    const bool isEven = width % 2 == 0;
    const struct {
        int width, shift;
    } passes[] = {{width, 0}, {width, isEven ? 1 : 0}, {isEven ? width + 1 : width, 0}};
    for (const auto& pass : passes) {
        for (int row = 0; row < rows; ++row)
            blurLine(pixels + static_cast<std::ptrdiff_t>(row) * stride, columns, 1, pass.width, pass.shift,
                     copy);
        for (int column = 0; column < columns; ++column)
            blurLine(pixels + column, rows, stride, pass.width, pass.shift, copy);
    }
    cairo_surface_mark_dirty(mask);
}

/// A stretch of one axis: where it comes from in the patch, and where it goes.
struct Stretch {
    int from = 0;
    int fromLength = 0;
    double to = 0;
    double toLength = 0;
};

std::vector<Stretch> stretches(int patchLength, int corner, double to, double length) {
    if (length <= patchLength) return {{0, patchLength, to, length}};
    const int rest = patchLength - corner - 1;
    return {{0, corner, to, static_cast<double>(corner)},
            {corner, 1, to + corner, length - corner - rest},
            {corner + 1, rest, to + length - rest, static_cast<double>(rest)}};
}

double alphaAt(cairo_surface_t* mask, int x, int y) {
    const auto* pixels = cairo_image_surface_get_data(mask);
    return pixels ? pixels[y * cairo_image_surface_get_stride(mask) + x] / 255.0 : 0;
}

}  // namespace

int CairoShadow::margin(double deviation) {
    return deviation > 0 ? (3 * (meanWidth(deviation) + 1)) / 2 + 1 : 0;
}

std::shared_ptr<const CairoShadow::Patch> CairoShadow::patch(int width, int height, const Shape& shape,
                                                             double deviation) {
    constexpr int largestSide = 2048;
    const int reach = margin(deviation);
    const bool isStretched = shape.kind != Shape::Kind::ellipse;
    const auto inside = static_cast<int>(std::ceil(
                            cornerExtent({static_cast<double>(width), static_cast<double>(height)}, shape))) +
                        reach;
    Patch patch;
    const int innerWidth = isStretched ? std::min(width, 2 * inside + 1) : width;
    const int innerHeight = isStretched ? std::min(height, 2 * inside + 1) : height;
    patch.width = innerWidth + 2 * reach;
    patch.height = innerHeight + 2 * reach;
    patch.corner = inside + reach;
    if (patch.width > largestSide || patch.height > largestSide) return nullptr;
    // The corners of a capsule follow from its whole height, so they belong to the key.
    const auto& key =
        this->key.of(static_cast<int>(shape.kind), innerWidth, innerHeight,
                     std::lround(std::min(shape.radius, 1e6) * 64), std::lround(deviation * 64), inside);
    if (auto known = patches.objectForKey(key)) return known;
    patch.mask.reset(cairo_image_surface_create(CAIRO_FORMAT_A8, patch.width, patch.height));
    const handles::Context context(cairo_create(patch.mask.get()));
    const double at = reach;
    appendShape(context.get(),
                {{at, at}, {static_cast<double>(innerWidth), static_cast<double>(innerHeight)}}, shape);
    cairo_fill(context.get());
    blur(patch.mask.get(), deviation);
    const auto cost = static_cast<std::size_t>(patch.width) * static_cast<std::size_t>(patch.height);
    auto made = std::make_shared<const Patch>(std::move(patch));
    patches.setObject(made, key, cost);
    return made;
}

void CairoShadow::paint(cairo_t* context, const Rect& rect, const Shape& shape, double deviation,
                        const Color& color) {
    const auto made = patch(static_cast<int>(std::lround(rect.size.width)),
                            static_cast<int>(std::lround(rect.size.height)), shape, deviation);
    if (!made) return;
    const int reach = margin(deviation);
    const Rect outer = {{rect.minX() - reach, rect.minY() - reach},
                        {rect.size.width + 2 * reach, rect.size.height + 2 * reach}};
    const auto columns = stretches(made->width, made->corner, outer.minX(), outer.size.width);
    const auto rows = stretches(made->height, made->corner, outer.minY(), outer.size.height);
    const handles::Pattern pattern(cairo_pattern_create_for_surface(made->mask.get()));
    cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
    cairo_pattern_set_filter(pattern.get(), CAIRO_FILTER_NEAREST);
    for (const auto& row : rows) {
        for (const auto& column : columns) {
            if (column.fromLength == 1 && row.fromLength == 1) {
                const double alpha = alphaAt(made->mask.get(), column.from, row.from);
                cairo_set_source_rgba(context, color.red, color.green, color.blue, color.alpha * alpha);
                cairo_rectangle(context, column.to, row.to, column.toLength, row.toLength);
                cairo_fill(context);
                continue;
            }
            cairo_matrix_t toPatch;
            cairo_matrix_init_translate(&toPatch, column.from, row.from);
            cairo_matrix_scale(&toPatch, column.fromLength / column.toLength, row.fromLength / row.toLength);
            cairo_matrix_translate(&toPatch, -column.to, -row.to);
            cairo_pattern_set_matrix(pattern.get(), &toPatch);
            cairo_save(context);
            cairo_rectangle(context, column.to, row.to, column.toLength, row.toLength);
            cairo_clip(context);
            cairo_set_source_rgba(context, color.red, color.green, color.blue, color.alpha);
            cairo_mask(context, pattern.get());
            cairo_restore(context);
        }
    }
}

}  // namespace vellumix::view
