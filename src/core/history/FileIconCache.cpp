#include "core/history/FileIconCache.h"

#include <algorithm>
#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/ReadTracker.h"
#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

namespace {

bool isSame(const Bitmap* one, const Bitmap* other) {
    if (!one || !other || one == other) return one == other;
    return one->width == other->width && one->height == other->height && one->pixels == other->pixels;
}

}  // namespace

/// Has the views ask anew when something has changed that the desktop's answer came from.
class FileIconCache::Reads final : ReadTracker {
public:
    explicit Reads(FileIconCache& cache) : cache(cache) {}

    std::vector<Observation> observations;

private:
    void didRead(ObserverList<>& observers) override {
        observations.push_back(observers.add(this->cache.lifetime.weakly(
            [&cache = cache] { cache.changes.update([](int& changes) { ++changes; }); })));
    }

    FileIconCache& cache;
};

FileIconCache& FileIconCache::shared() { return SharedInstances::current().get<FileIconCache>(); }

std::shared_ptr<const Bitmap> FileIconCache::icon(const URL& file) {
    // The read is what has the view evaluated again.
    changes.get();
    if (std::ranges::find(wanted, file) == wanted.end()) {
        wanted.push_back(file);
        if (wanted.size() == 1) askLater();
    }
    return cache.objectForKey(file.path());
}

void FileIconCache::forget(const URL& file) {
    cache.removeObjectForKey(file.path());
    std::erase(wanted, file);
}

void FileIconCache::askLater() {
    onMain(lifetime.weakly([this] { ask(); }));
}

void FileIconCache::ask() {
    if (wanted.empty()) return;
    const auto file = std::move(wanted.front());
    wanted.pop_front();
    if (!wanted.empty()) askLater();
    Reads reads(*this);
    auto icon = platform::current().fileIcons->iconForFile(file, side);
    if (!reads.observations.empty()) this->reads = std::move(reads.observations);
    const auto key = file.path();
    if (isSame(cache.objectForKey(key).get(), icon.get())) return;
    icon ? cache.setObject(std::move(icon), key) : cache.removeObjectForKey(key);
    this->changes.update([](int& changes) { ++changes; });
}

}  // namespace vellumix
