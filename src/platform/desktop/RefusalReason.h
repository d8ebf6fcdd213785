#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vellumix {

/// Why a copy was not recorded.
enum class RefusalReason : std::uint8_t {
    justAfterPaste,
    marked,
    excludedApplication,
    undecodableImage,
    onlyBlanks,
    repeated,
    noAnswer,
    noReadableType,
    tooManyTargets,
    tooLarge,
    historyIsFull,
    overtaken,
    ownerEnded,
    noMemory,
};

inline constexpr RefusalReason allRefusalReasons[] = {
    RefusalReason::justAfterPaste,   RefusalReason::marked,         RefusalReason::excludedApplication,
    RefusalReason::undecodableImage, RefusalReason::onlyBlanks,     RefusalReason::repeated,
    RefusalReason::noAnswer,         RefusalReason::noReadableType, RefusalReason::tooManyTargets,
    RefusalReason::tooLarge,         RefusalReason::historyIsFull,  RefusalReason::overtaken,
    RefusalReason::ownerEnded,       RefusalReason::noMemory,
};

/// The English words by which the log and the JSON of the status tell it, in every language; never content.
std::string_view rawValue(RefusalReason reason);
/// The reason with these words.
std::optional<RefusalReason> refusalReason(std::string_view rawValue);
/// The reason in the user's language. Main thread.
std::string localizedText(RefusalReason reason);

}  // namespace vellumix
