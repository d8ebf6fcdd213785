#include "core/history/HistoryRun.h"

#include <algorithm>
#include <utility>

#include "core/history/HistoryCoding.h"
#include "core/history/Store.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix {

HistoryRun::HistoryRun(const std::vector<ClipboardItem>& items) {
    for (const auto& item : items) {
        entries.push_back({item, recordSizeLimit(item)});
        fileSize_ += entries.back().size;
    }
}

template <class Condition>
void HistoryRun::eraseIf(Condition isToGo) {
    std::erase_if(entries, [&](const Entry& entry) {
        if (!isToGo(entry.item)) return false;
        fileSize_ -= entry.size;
        return true;
    });
}

void HistoryRun::add(ClipboardItem item) {
    if (const auto text = item.text()) {
        eraseIf([&](const ClipboardItem& entry) { return isReplaced(entry, item.kind, *text); });
    }
    const auto size = recordSizeLimit(item);
    fileSize_ += size;
    entries.push_front({std::move(item), size});
    if (entries.size() <= Store::limit) return;
    fileSize_ -= entries.back().size;
    entries.pop_back();
}

void HistoryRun::remove(const ClipboardItem& item) {
    eraseIf([&](const ClipboardItem& entry) { return entry == item; });
}

std::optional<ClipboardItem> HistoryRun::item(const UUID& id) const {
    const auto found = std::ranges::find(entries, id, [](const Entry& entry) { return entry.item.id; });
    return found == entries.end() ? std::nullopt : std::optional(found->item);
}

std::vector<ClipboardItem> HistoryRun::items() const {
    std::vector<ClipboardItem> items;
    for (const auto& entry : entries) items.push_back(entry.item);
    return items;
}

bool isReplaced(const ClipboardItem& entry, ClipboardItem::Kind kind, const String& text) {
    return !entry.locked && entry.kind == kind && entry._text && canonicallyEqual(*entry._text, text);
}

}  // namespace vellumix
