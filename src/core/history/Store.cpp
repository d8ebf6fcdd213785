#include "core/history/Store.h"

#include <algorithm>

#include "core/history/ThumbnailCache.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/text/RememberedTexts.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {

constexpr const char* saveQueueLabel = "com.tarnwick.Vellumix.Store.Save";

URL defaultURL() {
    const auto& platform = platform::current();
    const auto& folders = platform.applicationSupportDirectories;
    const auto folder = (folders.empty() ? platform.temporaryDirectory : folders.front()) + "/Vellumix";
    platform.files->makeFolder(folder);
    return URL::file(folder + "/history.json");
}

void forgetThumbnail(const ClipboardItem& item) { ThumbnailCache::shared().forget(item.id); }

bool isProtected(const ClipboardItem& item) { return item.pinned || item.locked; }

}  // namespace

Store::Store(std::optional<URL> url, std::size_t sizeLimit)
    : _url(url ? std::move(*url) : defaultURL()),
      _sizeLimit(sizeLimit),
      _file(std::make_shared<KeptFile>(*platform::current().files, _url.path(),
                                       KeptFile::Nature{"Store", "history", bounds::historyFile})),
      _saveQueue(RunLoop::main().serialQueue(saveQueueLabel)) {
    load();
}

void Store::add(ClipboardItem item) {
    const auto text = item.text();
    _items.update([&](std::vector<ClipboardItem>& items) {
        if (text) {
            // A locked entry never matches, so it isn't asked for its text, which would cost a keychain read
            // each.
            std::erase_if(items, [&](const ClipboardItem& entry) {
                return !entry.locked && entry.kind == item.kind && entry._text &&
                       canonicallyEqual(*entry._text, *text);
            });
        }
        items.insert(items.begin(), std::move(item));
        if (items.size() > limit) items.resize(limit);
    });
    scheduleSave();
}

template <class Change>
void Store::changeFound(const ClipboardItem& item, Change change) {
    const auto& items = _items.get();
    const auto found = std::ranges::find(items, item);
    if (found == items.end()) return;
    const auto index = found - items.begin();
    _items.update([&](std::vector<ClipboardItem>& entries) { change(entries, entries.begin() + index); });
    scheduleSave();
}

void Store::remove(const ClipboardItem& item) {
    changeFound(item, [](auto& items, auto found) {
        forgetThumbnail(*found);
        items.erase(found);
    });
}

void Store::togglePin(const ClipboardItem& item) {
    changeFound(item, [](auto&, auto found) { found->pinned = !found->pinned; });
}

void Store::setLocked(const ClipboardItem& item, bool locked) {
    if (item.locked == locked) return;
    changeFound(item, [locked](auto&, auto found) {
        // No picture of a locked entry stays in memory.
        if (locked) forgetThumbnail(*found);
        found->locked = locked;
        locked ? found->encryptContent() : found->decryptContent();
    });
    if (locked) RememberedTexts::shared().forget();
}

void Store::clear() {
    _items.update([](std::vector<ClipboardItem>& items) {
        std::erase_if(items, [](const ClipboardItem& item) {
            if (isProtected(item)) return false;
            forgetThumbnail(item);
            return true;
        });
    });
    scheduleSave();
}

void Store::replaceAll(std::vector<ClipboardItem> items) {
    const auto& old = _items.get();
    std::vector<ClipboardItem> gone;
    std::ranges::copy_if(old, std::back_inserter(gone), [&](const ClipboardItem& entry) {
        return std::ranges::none_of(items, [&](const ClipboardItem& kept) { return kept.id == entry.id; });
    });
    _items.set(std::move(items));
    std::ranges::for_each(gone, forgetThumbnail);
    scheduleSave();
}

std::optional<ClipboardItem> Store::item(const UUID& id) const {
    const auto found = std::ranges::find(_items.get(), id, &ClipboardItem::id);
    return found == _items.get().end() ? std::nullopt : std::optional(*found);
}

}  // namespace vellumix
