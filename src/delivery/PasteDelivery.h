#pragma once

#include "core/ClipboardItem.h"

namespace vellumix {

/// Puts an entry on the general pasteboard, and tells the watcher that the change is the program's own. An
/// image or a file that the entry doesn't give leaves the pasteboard as it was; a text that it doesn't give
/// is written as an empty one. Main thread.
void writeToPasteboard(const ClipboardItem& item);

}  // namespace vellumix
