#include "core/ThumbnailCache.h"

#include "platform/foundation/SharedInstances.h"

namespace vellumix {

ThumbnailCache::ThumbnailCache()
    : cache(100, 50 * 1024 * 1024),
      queue(RunLoop::main().serialQueue("com.tarnwick.Vellumix.ThumbnailCache")) {}

ThumbnailCache& ThumbnailCache::shared() { return SharedInstances::current().get<ThumbnailCache>(); }

FileIconCache& FileIconCache::shared() { return SharedInstances::current().get<FileIconCache>(); }

}  // namespace vellumix
