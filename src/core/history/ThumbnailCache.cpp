#include "core/history/ThumbnailCache.h"

#include <algorithm>

#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

ThumbnailCache::ThumbnailCache()
    : cache(100, 50 * 1024 * 1024),
      queue(RunLoop::main().serialQueue("com.tarnwick.Vellumix.ThumbnailCache")) {}

ThumbnailCache& ThumbnailCache::shared() { return SharedInstances::current().get<ThumbnailCache>(); }

ThumbnailCache::Thumbnail ThumbnailCache::thumbnail(const UUID& id, ImageDecoder::PixelSize box,
                                                    const Source& source) {
    const auto key = id.uuidString();
    const auto facts = this->facts.objectForKey(key);
    if (facts && facts->hasFailed) return {.state = State::failed};
    Thumbnail known{.bitmap = cache.objectForKey(key)};
    if (facts) {
        known.imageSize = facts->imageSize;
        // Asked for in two sizes, an entry keeps the one that serves for both.
        box = {std::max(box.width, facts->box.width), std::max(box.height, facts->box.height)};
        if (known.bitmap && box == facts->box) {
            known.state = State::ready;
            return known;
        }
    }
    // The read is what has the view evaluated again.
    arrivals.get();
    if (!pending.contains(key) && pending.size() < pendingLimit) order(key, box, source);
    return known;
}

void ThumbnailCache::order(const std::string& key, ImageDecoder::PixelSize box, const Source& source) {
    const int number = ++orders;
    pending[key] = number;
    queue->asyncAfter(0,
                      [box, encoded = source().value_or(Data()), decoder = platform::current().imageDecoder,
                       arrived = lifetime.weakly([this, key, number](auto facts, auto bitmap) {
                           arrive(key, number, std::move(facts), std::move(bitmap));
                       })] {
                          auto bitmap = decoder->decode(encoded, box);
                          auto facts = std::make_shared<const Facts>(Facts{
                              // A head without its picture makes no image.
                              .imageSize = bitmap ? decoder->sizeOf(encoded) : std::nullopt,
                              .box = box,
                              .hasFailed = !bitmap,
                          });
                          onMain([arrived, facts = std::move(facts), bitmap = std::move(bitmap)]() mutable {
                              arrived(std::move(facts), std::move(bitmap));
                          });
                      });
}

void ThumbnailCache::arrive(const std::string& key, int number, std::shared_ptr<const Facts> facts,
                            std::shared_ptr<const Bitmap> bitmap) {
    const auto found = pending.find(key);
    if (found == pending.end() || found->second != number) return;
    pending.erase(found);
    this->facts.setObject(std::move(facts), key);
    if (bitmap) {
        const auto cost = bitmap->pixels.size();
        cache.setObject(std::move(bitmap), key, cost);
    }
    arrivals.set(number);
}

void ThumbnailCache::forget(const UUID& id) {
    const auto key = id.uuidString();
    cache.removeObjectForKey(key);
    facts.removeObjectForKey(key);
    pending.erase(key);
}

}  // namespace vellumix
