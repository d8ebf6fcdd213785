#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/history/ClipboardItem.h"
#include "core/history/HistoryBounds.h"
#include "core/history/HistoryRun.h"
#include "platform/desktop/RefusalReason.h"
#include "platform/foundation/bytes/BlockBuffer.h"
#include "platform/foundation/files/KeptFile.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/Published.h"

namespace vellumix {

/// The ordered history, newest insertion first, bounded to `limit` entries.
///
/// Main thread only. Every mutation notifies `items` once and schedules one save of the whole list.
/// Operations that take an item find it by equality of all fields: a stale copy finds nothing and nothing
/// happens.
class Store {
public:
    static constexpr std::size_t limit = 200;
    /// Seconds from the last mutation to the write.
    static constexpr double saveDebounce = 0.35;
    /// Seconds that the memory of a save is kept for the next one: people copy several things in a row, and
    /// fresh pages can cost more than the whole save. Between such rows nothing stays beside the history.
    static constexpr double memoryLingers = 20;

    /// Loads the file at once; an unreadable one gives an empty history and stays on disk. With no URL, the
    /// file is "Vellumix/history.json" in the first application-support folder, or else in the temporary
    /// folder, made if missing.
    /// `sizeLimit`, in bytes of the file, is for `excessOf`.
    explicit Store(std::optional<URL> url = std::nullopt, std::size_t sizeLimit = bounds::history);

    const Published<std::vector<ClipboardItem>>& items() const { return items_; }
    Observation observeItems(std::function<void()> observer) { return items_.observe(std::move(observer)); }
    const URL& url() const { return url_; }
    /// Whether the last save failed, so that the file doesn't hold the present list.
    const Published<bool>& saveFailed() const { return saveFailed_; }
    Observation observeSaveFailed(std::function<void()> observer) {
        return saveFailed_.observe(std::move(observer));
    }

    /// Removes unlocked duplicates (same kind, canonically equal text), inserts at the front, trims to
    /// `limit`. Never fails and never refuses.
    void add(ClipboardItem item);
    void remove(const ClipboardItem& item);
    /// Flips `pinned`; the entry keeps its place.
    void togglePin(const ClipboardItem& item);
    /// Sets `locked` and enciphers or deciphers the payload. A cipher's failure leaves the payload as it was
    /// under the new flag. Does nothing when the entry has that value already.
    void setLocked(const ClipboardItem& item, bool locked);
    /// Removes every entry that is neither pinned nor locked.
    void clear();
    void replaceAll(std::vector<ClipboardItem> items);
    std::optional<ClipboardItem> item(const UUID& id) const;
    /// Calls the closure, in which `add`, `remove` and `item` alone may be used, any number of times: the
    /// list is published and saved once, behind all of them. Costs little for each, as whoever brings entries
    /// from elsewhere may bring thousands.
    void changeTogether(const Work& changes);
    /// Expires with the store.
    std::weak_ptr<const void> watch() const { return lifetime.watch(); }
    /// Why the entry is too much for the history, by itself or beside the others, if it is.
    std::optional<RefusalReason> excessOf(const ClipboardItem& item) const;

    /// Writes the present list before it returns, in place of any save that waits. Does nothing when nothing
    /// has changed since the start: an end needs no key then, and an unreadable file stays in its place.
    void saveNow();

    /// Appends the bytes of the file for the payload that `json` gives, twice if need be: the magic and the
    /// enciphered blob, or the plain payload when it can't be enciphered. False when it doesn't come whole or
    /// there is no memory.
    static bool sealHistory(const ByteSource& json, BlockBuffer& out);

private:
    void load();
    void decode(Bytes content);
    void scheduleSave();
    void noteOutcome();
    /// What is to be written, after what was locked without a key is enciphered where there is one again.
    std::shared_ptr<const BlockBuffer> sealedItems();
    std::shared_ptr<const BlockBuffer> encodeAndSeal();
    template <class Change>
    void changeFound(const ClipboardItem& item, Change change);

    Published<std::vector<ClipboardItem>> items_;
    /// The list while it is changed together.
    std::optional<HistoryRun> run;
    const URL url_;
    const std::size_t sizeLimit;
    const std::shared_ptr<KeptFile> file;
    const std::unique_ptr<SerialQueue> saveQueue;
    std::shared_ptr<WorkItem> pendingSave;
    /// The memory of the snapshots that are or were to be written.
    const std::shared_ptr<BlockPool> blocks = std::make_shared<BlockPool>();
    std::shared_ptr<WorkItem> pendingRelease;
    bool hasChanged = false;
    /// What the present list takes in the file, in bytes.
    std::size_t fileSize = 0;
    Published<bool> saveFailed_;
    Lifetime lifetime;
};

}  // namespace vellumix
