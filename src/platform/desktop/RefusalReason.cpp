#include "platform/desktop/RefusalReason.h"

#include <algorithm>
#include <iterator>

#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

struct Row {
    std::string_view rawValue;
    std::string_view textKey;
};

constexpr Row rows[] = {
    {"just after a paste of our own", "refusal.justAfterPaste"},
    {"marked as not to be recorded", "refusal.marked"},
    {"copied in an excluded application", "refusal.excludedApplication"},
    {"an image that can't be decoded", "refusal.undecodableImage"},
    {"only blanks", "refusal.onlyBlanks"},
    {"the same as the last capture", "refusal.repeated"},
    {"the owner didn't answer in time", "refusal.noAnswer"},
    {"no readable type", "refusal.noReadableType"},
    {"more targets than any program announces", "refusal.tooManyTargets"},
    {"larger than what is recorded", "refusal.tooLarge"},
    {"the history is full", "refusal.historyIsFull"},
    {"changed while it was read", "refusal.overtaken"},
    {"the owner ended while it was read", "refusal.ownerEnded"},
    {"not enough memory", "refusal.noMemory"},
};
static_assert(std::size(rows) == std::size(allRefusalReasons));

const Row& row(RefusalReason reason) { return rows[static_cast<std::size_t>(reason)]; }

}  // namespace

std::string_view rawValue(RefusalReason reason) { return row(reason).rawValue; }

std::optional<RefusalReason> refusalReason(std::string_view words) {
    const auto* const found = std::ranges::find_if(
        allRefusalReasons, [&](RefusalReason reason) { return rawValue(reason) == words; });
    return found == std::end(allRefusalReasons) ? std::nullopt : std::optional(*found);
}

std::string localizedText(RefusalReason reason) { return localized(row(reason).textKey); }

}  // namespace vellumix
