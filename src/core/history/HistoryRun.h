#pragma once

#include <deque>
#include <optional>
#include <vector>

#include "core/history/ClipboardItem.h"

namespace vellumix {

/// The history while many entries come and go: a list whose front costs as little as its end, and whose size
/// in the file is known at each moment. Main thread.
class HistoryRun {
public:
    explicit HistoryRun(const std::vector<ClipboardItem>& items);

    /// As the operations of `Store` with these names.
    void add(ClipboardItem item);
    void remove(const ClipboardItem& item);
    std::optional<ClipboardItem> item(const UUID& id) const;

    std::vector<ClipboardItem> items() const;
    /// What the list takes in the file at most, in bytes.
    std::size_t fileSize() const { return fileSize_; }

private:
    struct Entry {
        ClipboardItem item;
        std::size_t size;
    };
    template <class Condition>
    void eraseIf(Condition isToGo);

    std::deque<Entry> entries;
    std::size_t fileSize_ = 0;
};

/// Whether an entry goes when one of that kind and text comes: it has the same, and isn't locked. (A locked
/// one isn't asked for its text, which would cost a keychain read each.)
bool isReplaced(const ClipboardItem& entry, ClipboardItem::Kind kind, const String& text);

}  // namespace vellumix
