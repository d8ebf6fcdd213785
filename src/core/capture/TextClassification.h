#pragma once

#include <string_view>

#include "core/history/ClipboardItem.h"

namespace vellumix {

/// What a copied text is: `link` for a URL whose scheme is exactly "http" or "https", else `code` or `text`.
/// `trimmed` has no white space at its ends.
ClipboardItem::Kind classify(std::string_view trimmed);

/// Whether a text reads like source code: more than one line, and enough of the words and signs of code.
bool looksLikeCode(std::string_view text);

}  // namespace vellumix
