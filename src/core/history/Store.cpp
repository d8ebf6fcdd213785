#include "core/history/Store.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "core/history/EncryptionManager.h"
#include "core/history/FileIconCache.h"
#include "core/history/HistoryCoding.h"
#include "core/history/MissingFiles.h"
#include "core/history/ThumbnailCache.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/loop/Log.h"
#include "platform/foundation/promises/MainThread.h"
#include "platform/foundation/text/RememberedTexts.h"

namespace vellumix {

namespace {

constexpr Log log("Store");
constexpr std::array<std::uint8_t, 4> magic{'V', 'L', 'X', '1'};

bool hasMagic(ByteView content) {
    return content.size() >= magic.size() && sameBytes(content.first(magic.size()), magic);
}

constexpr const char* saveQueueLabel = "com.tarnwick.Vellumix.Store.Save";

URL defaultURL() {
    const auto& platform = platform::current();
    const auto& folders = platform.applicationSupportDirectories;
    const auto folder = (folders.empty() ? platform.temporaryDirectory : folders.front()) + "/Vellumix";
    platform.files->makeFolder(folder);
    return URL::file(folder + "/history.json");
}

void forgetPictures(const ClipboardItem& item) {
    ThumbnailCache::shared().forget(item.id);
    if (!item._fileURL) return;
    FileIconCache::shared().forget(*item._fileURL);
    MissingFiles::shared().forget(*item._fileURL);
}

bool isProtected(const ClipboardItem& item) { return item.pinned || item.locked; }

std::size_t contentSize(const ClipboardItem& item) {
    return (item._text ? item._text->size() : 0) + (item._imageData ? item._imageData->size() : 0);
}

}  // namespace

Store::Store(std::optional<URL> url, std::size_t sizeLimit)
    : url_(url ? std::move(*url) : defaultURL()),
      sizeLimit(sizeLimit),
      file(std::make_shared<KeptFile>(*platform::current().files, url_.path(),
                                      KeptFile::Nature{"Store", "history", bounds::historyFile})),
      saveQueue(RunLoop::main().serialQueue(saveQueueLabel)) {
    load();
}

void Store::add(ClipboardItem item) {
    if (run) return run->add(std::move(item));
    const auto text = item.text();
    items_.update([&](std::vector<ClipboardItem>& items) {
        if (text) {
            std::erase_if(items, [&](const auto& entry) { return isReplaced(entry, item.kind, *text); });
        }
        items.insert(items.begin(), std::move(item));
        if (items.size() > limit) items.resize(limit);
    });
    scheduleSave();
}

void Store::changeTogether(const Work& changes) {
    run.emplace(items_.get());
    changes();
    auto changed = std::exchange(run, std::nullopt)->items();
    if (changed != items_.get()) replaceAll(std::move(changed));
}

template <class Change>
void Store::changeFound(const ClipboardItem& item, Change change) {
    const auto& items = items_.get();
    const auto found = std::ranges::find(items, item);
    if (found == items.end()) return;
    const auto index = found - items.begin();
    items_.update([&](std::vector<ClipboardItem>& entries) { change(entries, entries.begin() + index); });
    scheduleSave();
}

void Store::remove(const ClipboardItem& item) {
    if (run) {
        run->remove(item);
        return;
    }
    changeFound(item, [](auto& items, auto found) {
        forgetPictures(*found);
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
        if (locked) forgetPictures(*found);
        found->locked = locked;
        locked ? found->encryptContent() : found->decryptContent();
    });
    if (locked) RememberedTexts::shared().forget();
}

void Store::clear() {
    items_.update([](std::vector<ClipboardItem>& items) {
        std::erase_if(items, [](const ClipboardItem& item) {
            if (isProtected(item)) return false;
            forgetPictures(item);
            return true;
        });
    });
    scheduleSave();
}

void Store::replaceAll(std::vector<ClipboardItem> items) {
    const auto& old = items_.get();
    std::vector<ClipboardItem> gone;
    std::ranges::copy_if(old, std::back_inserter(gone), [&](const ClipboardItem& entry) {
        return std::ranges::none_of(items, [&](const ClipboardItem& kept) { return kept.id == entry.id; });
    });
    items_.set(std::move(items));
    std::ranges::for_each(gone, forgetPictures);
    scheduleSave();
}

std::optional<ClipboardItem> Store::item(const UUID& id) const {
    if (run) return run->item(id);
    const auto found = std::ranges::find(items_.get(), id, &ClipboardItem::id);
    return found == items_.get().end() ? std::nullopt : std::optional(*found);
}

void Store::load() {
    auto content = file->read();
    if (!content || content->empty()) return;
    try {
        decode(std::move(*content));
    } catch (const std::bad_alloc&) {
        log.error("Failed to decode history: not enough memory");
        file->markUnreadable();
    }
}

void Store::decode(Bytes content) {
    ByteView payload = content;
    if (hasMagic(content)) {
        const auto plaintext =
            EncryptionManager::shared().decryptInPlace(std::span(content).subspan(magic.size()));
        if (!plaintext) {
            log.error("Failed to decrypt history — file corrupt or key unavailable");
            return file->markUnreadable();
        }
        payload = *plaintext;
    }
    fileSize = content.size();
    std::vector<ClipboardItem> items;
    if (const auto reason = decodeHistory(std::move(content), payload, items); !reason.empty()) {
        log.error("Failed to decode history: " + reason);
        fileSize = 0;
        return file->markUnreadable();
    }
    items_.set(std::move(items));
}

std::optional<RefusalReason> Store::excessOf(const ClipboardItem& item) const {
    const auto size = contentSize(item);
    if (size > bounds::entry) return RefusalReason::tooLarge;
    const auto present = run ? run->fileSize() : fileSize;
    if (size <= bounds::alwaysRecorded || present + recordSizeLimit(item) <= sizeLimit) return std::nullopt;
    return RefusalReason::historyIsFull;
}

bool Store::sealHistory(const ByteSource& json, BlockBuffer& out) {
    if (!out.append(magic)) return false;
    const auto outcome = EncryptionManager::shared().encrypt(json, out);
    if (outcome != EncryptionManager::Outcome::failed) return outcome == EncryptionManager::Outcome::done;
    log.error("Encryption unavailable — writing history as plaintext");
    out.clear();
    return json([&](ByteView piece) { return out.append(piece); });
}

std::shared_ptr<const BlockBuffer> Store::sealedItems() {
    auto sealed = encodeAndSeal();
    const bool hasKey = sealed && hasMagic(sealed->parts().front());
    if (!hasKey || std::ranges::none_of(items_.get(), &ClipboardItem::isLockedInClear)) return sealed;
    // There is a key again, for what was locked while there was none.
    items_.update([](std::vector<ClipboardItem>& items) {
        for (auto& item : items) {
            if (item.isLockedInClear()) item.encryptContent();
        }
    });
    return encodeAndSeal();
}

std::shared_ptr<const BlockBuffer> Store::encodeAndSeal() {
    auto sealed = std::make_shared<BlockBuffer>(blocks);
    const auto json = [&](const ByteTaker& take) { return encodeHistory(items_.get(), take); };
    if (!sealHistory(json, *sealed)) {
        file->noteFailure("there is no memory to encode it in");
        noteOutcome();
        return nullptr;
    }
    fileSize = sealed->size();
    return sealed;
}

void Store::noteOutcome() {
    if (saveFailed_.get() != file->hasFailed()) saveFailed_.set(file->hasFailed());
}

void Store::scheduleSave() {
    assertMainThread();
    hasChanged = true;
    if (pendingSave) pendingSave->cancel();
    if (pendingRelease) pendingRelease->cancel();
    auto sealed = sealedItems();
    if (sealed) {
        pendingSave =
            saveQueue->asyncAfter(saveDebounce, [file = this->file, sealed = std::move(sealed),
                                                 tell = lifetime.weakly([this] { noteOutcome(); })] {
                const bool hadFailed = file->hasFailed();
                file->write(sealed->parts());
                if (file->hasFailed() != hadFailed) onMain(tell);
            });
    }
    pendingRelease =
        saveQueue->asyncAfter(saveDebounce + memoryLingers, [blocks = this->blocks] { blocks->release(); });
}

void Store::saveNow() {
    assertMainThread();
    if (!hasChanged) return;
    if (pendingSave) pendingSave->cancel();
    const auto sealed = sealedItems();
    if (!sealed) return;
    saveQueue->sync([&] { file->write(sealed->parts()); });
    noteOutcome();
}

}  // namespace vellumix
