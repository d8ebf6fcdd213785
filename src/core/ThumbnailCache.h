#pragma once

#include <memory>
#include <string>

#include "platform/desktop/Bitmap.h"
#include "platform/foundation/Cache.h"
#include "platform/foundation/RunLoop.h"

namespace vellumix {

/// Images made from history entries, by the `uuidString` of the entry's id. All of it can be made again.
class ThumbnailCache {
public:
    static ThumbnailCache& shared();
    ThumbnailCache();

    NSCache<Bitmap> cache;
    /// The edge of a thumbnail in points.
    static constexpr double thumbnailSize = 240.0;
    const std::unique_ptr<SerialQueue> queue;
};

/// Icons of files, by path.
class FileIconCache {
public:
    static FileIconCache& shared();

    NSCache<Bitmap> cache{0, 0};
};

}  // namespace vellumix
