#pragma once

#include <string>
#include <vector>

#include "core/history/ClipboardItem.h"
#include "platform/foundation/bytes/BlockBuffer.h"

/// The history as a JSON array of records, one for each entry.
namespace vellumix {

/// Gives the array to `take` in pieces, compact, with the keys of each record in the order of the fields and
/// no key for an absent payload. False, with what was given of no use, when an entry can't be written (a date
/// that is no number) or a piece wasn't taken.
bool encodeHistory(const std::vector<ClipboardItem>& items, const ByteTaker& take);

/// The bytes that the entry's record takes in the array, or a few more.
std::size_t recordSizeLimit(const ClipboardItem& item);

/// Reads the array that `json`, a part of `content`, holds. Unknown keys are ignored; a missing required key,
/// a wrong type or an unknown kind fails the whole. Returns the reason of a failure, which names no content,
/// or an empty string. The pictures are decoded where they stand and stay in `content`, as memory for them
/// would cost more than the rest of the reading.
std::string decodeHistory(Bytes content, ByteView json, std::vector<ClipboardItem>& items);

}  // namespace vellumix
