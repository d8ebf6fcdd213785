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
    explicit Reads(FileIconCache& cache) : _cache(cache) {}

    std::vector<Observation> observations;

private:
    void didRead(ObserverList<>& observers) override {
        observations.push_back(observers.add(_cache._lifetime.weakly(
            [&cache = _cache] { cache._changes.update([](int& changes) { ++changes; }); })));
    }

    FileIconCache& _cache;
};

FileIconCache& FileIconCache::shared() { return SharedInstances::current().get<FileIconCache>(); }

std::shared_ptr<const Bitmap> FileIconCache::icon(const URL& file) {
    // The read is what has the view evaluated again.
    _changes.get();
    if (std::ranges::find(_wanted, file) == _wanted.end()) {
        _wanted.push_back(file);
        if (_wanted.size() == 1) askLater();
    }
    return cache.objectForKey(file.path());
}

void FileIconCache::forget(const URL& file) {
    cache.removeObjectForKey(file.path());
    std::erase(_wanted, file);
}

void FileIconCache::askLater() {
    onMain(_lifetime.weakly([this] { ask(); }));
}

void FileIconCache::ask() {
    if (_wanted.empty()) return;
    const auto file = std::move(_wanted.front());
    _wanted.pop_front();
    if (!_wanted.empty()) askLater();
    Reads reads(*this);
    auto icon = platform::current().fileIcons->iconForFile(file, side);
    if (!reads.observations.empty()) _reads = std::move(reads.observations);
    const auto key = file.path();
    if (isSame(cache.objectForKey(key).get(), icon.get())) return;
    icon ? cache.setObject(std::move(icon), key) : cache.removeObjectForKey(key);
    _changes.update([](int& changes) { ++changes; });
}

}  // namespace vellumix
