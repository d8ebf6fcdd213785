#pragma once

#include <memory>
#include <string>

#include "platform/foundation/Cache.h"
#include "platform/foundation/Data.h"
#include "platform/foundation/RunLoop.h"

namespace vellumix {

/// A decoded image: rows of 32-bit pixels, premultiplied, without padding.
struct CachedImage {
    int width = 0;
    int height = 0;
    Bytes pixels;
};

/// Images made from history entries, by the `uuidString` of the entry's id. All of it can be made again.
class ThumbnailCache {
public:
    static ThumbnailCache& shared();
    ThumbnailCache();

    NSCache<CachedImage> cache;
    /// The edge of a thumbnail in points.
    static constexpr double thumbnailSize = 240.0;
    const std::unique_ptr<SerialQueue> queue;
};

/// Icons of files, by path.
class FileIconCache {
public:
    static FileIconCache& shared();

    NSCache<CachedImage> cache{0, 0};
};

}  // namespace vellumix
