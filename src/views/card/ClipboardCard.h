#pragma once

#include <functional>

#include "core/history/ClipboardItem.h"
#include "core/transforms/TextTransform.h"
#include "platform/view/values/View.h"
#include "views/card/CardButtons.h"

namespace vellumix {

/// One entry of the history as a row of the list. A click on its thumbnail pastes it; a click elsewhere shows
/// all of it, or its beginning again. Nothing of a locked entry is read.
struct ClipboardCard {
    ClipboardItem item;
    /// By the keyboard.
    bool isSelected = false;
    Action onPaste;
    Action onCopy;
    Action onDelete;
    Action onPin;
    Action onLock;
    ShareItems onShareItems;
    std::function<void(TextTransform, String)> onTransform;
    view::State<bool> isHovering = false;
    view::State<bool> isExpanded = false;

    view::View body() const;

private:
    view::View textColumn() const;
    view::View metaRow() const;
    view::View content() const;
    view::View actionRow() const;
    /// What the card is called.
    String label() const;
};

}  // namespace vellumix
