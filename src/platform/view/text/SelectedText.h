#pragma once

#include <optional>
#include <string_view>

#include "platform/desktop/Platform.h"
#include "platform/view/tree/Node.h"

namespace vellumix::view {

/// Replaces the content of the clipboard of the platform in force.
inline void copyText(std::string_view text) {
    auto& pasteboard = *platform::current().pasteboard;
    pasteboard.clearContents();
    pasteboard.setString(text, NSPasteboardTypeString);
}

/// The colour behind a selected text; dimmed where the keys go elsewhere.
inline Color selectionColor(const Node& node) {
    constexpr double clear = 0.3;
    constexpr double dimmed = 0.15;
    return node.environment->accent.withOpacity(node.hasFocus ? clear : dimmed);
}

}  // namespace vellumix::view
