#pragma once

#include <string>

#include "core/history/ClipboardItem.h"

namespace vellumix {

/// The name of the symbol that stands for a kind of entry.
std::string symbolOf(ClipboardItem::Kind kind);
/// The kind in the chosen language. Main thread.
std::string captionOf(ClipboardItem::Kind kind);

}  // namespace vellumix
