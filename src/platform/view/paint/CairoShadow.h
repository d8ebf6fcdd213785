#pragma once

#include <string>
#include <vector>

#include "platform/foundation/memory/Cache.h"
#include "platform/view/paint/CairoHandles.h"
#include "platform/view/values/Drawing.h"

namespace vellumix::view {

/// Blurred shapes. A shape is blurred once, no larger than its corners need, and stretched between them, so
/// that a shadow costs no blur in a frame. Lengths in the units of the context, which are device pixels. One
/// thread at a time.
class CairoShadow {
public:
    /// Draws the shadow of a shape with whole edges. `deviation` is the blur's standard deviation. One too
    /// large to be blurred is left out.
    void paint(cairo_t* context, const Rect& rect, const Shape& shape, double deviation, const Color& color);
    /// How far the blur reaches.
    static int margin(double deviation);

private:
    struct Patch {
        handles::Surface mask;
        int width = 0;
        int height = 0;
        /// From an outer edge to where it may be stretched.
        int corner = 0;
    };

    std::shared_ptr<const Patch> patch(int width, int height, const Shape& shape, double deviation);

    static constexpr std::size_t countLimit = 64;
    static constexpr std::size_t byteLimit = std::size_t{4} << 20;
    CacheKey key;
    NSCache<Patch> patches{countLimit, byteLimit};
};

}  // namespace vellumix::view
