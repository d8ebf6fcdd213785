#pragma once

#include <memory>

#include "platform/foundation/memory/Cache.h"
#include "platform/view/paint/CairoHandles.h"
#include "platform/view/values/Drawing.h"

namespace vellumix::view {

/// Images at the size at which they are painted, each scaled once and kept while there is room. One thread at
/// a time.
class CairoImages {
public:
    /// Of `width` by `height` pixels, or of the bitmap's own size where that is too large to keep. Null for a
    /// bitmap without pixels, or with fewer than its size tells.
    std::shared_ptr<const handles::Surface> scaled(const std::shared_ptr<const Bitmap>& bitmap, int width,
                                                   int height);

private:
    struct Copy {
        /// Another bitmap may stand at the same address later.
        std::weak_ptr<const Bitmap> source;
        std::shared_ptr<const handles::Surface> surface;
    };
    static constexpr std::size_t countLimit = 256;
    static constexpr std::size_t byteLimit = std::size_t{8} << 20;
    CacheKey key;
    NSCache<Copy> copies{countLimit, byteLimit};
};

}  // namespace vellumix::view
