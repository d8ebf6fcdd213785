#pragma once

#include <functional>
#include <optional>

#include "core/history/ClipboardItem.h"
#include "platform/view/values/Views.h"
#include "protection/AuthenticationManager.h"

namespace vellumix {

/// The history: the toolbar, the cards of the entries that match it, and a short message over them. Needs the
/// `Store` in its environment.
///
/// Keys work wherever the focus is: the arrows and the enter key go through the list also while something is
/// being typed, and what is typed anywhere goes to the search field.
struct ClipboardListView {
    using ItemAction = std::function<void(const ClipboardItem&)>;
    using Answer = std::function<void(const AuthenticationManager::Result&)>;

    /// Puts the entry into the application that was in front.
    ItemAction onPasteAndClose;
    /// Locks for good.
    ItemAction onLock;
    /// Makes an unlocking last.
    ItemAction onUnlock;
    /// Asks for access to an entry for a reason that the user reads; answers once, at once or later.
    std::function<void(const ClipboardItem&, const String& reason, Answer)> onRequestUnlock;
    view::State<String> query;
    view::State<ClipboardItem::Kind> category = ClipboardItem::Kind::all;
    view::State<std::optional<String>> toast;
    view::State<std::optional<ClipboardItem>> itemToDelete;
    /// Into the entries that are displayed; for a moment it may be past their end.
    view::State<int> selectedIndex = 0;
    view::State<bool> listFocused = false;
    view::State<bool> isSearchFocused = false;
    view::State<view::ScrollTarget> scrollTarget;

    view::View body() const;
};

}  // namespace vellumix
