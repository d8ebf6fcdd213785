#pragma once

#include <optional>

#include "core/history/ClipboardItem.h"
#include "platform/view/values/View.h"

namespace vellumix {

/// What the list is searched by and filtered by, and the button that empties the history.
struct ClipboardToolbar {
    view::Binding<String> searchText;
    view::Binding<ClipboardItem::Kind> selectedFilter;
    Action onClear;
    view::State<bool> isHoveringClear = false;
    /// The search field has the focus, or gets it.
    std::optional<view::Binding<bool>> isSearchFocused = std::nullopt;

    view::View body() const;
};

}  // namespace vellumix
