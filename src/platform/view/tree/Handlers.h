#pragma once

#include <functional>
#include <optional>

#include "platform/view/values/Presentation.h"
#include "platform/view/values/View.h"

namespace vellumix::view {

/// What a view does about events.
struct Handlers {
    enum class Focus { none, byKeysAlone, byPressToo, byPressAlone };

    Action onTap;
    Action onClickOutside;
    std::function<void(bool)> onHover;
    std::optional<Cursor> cursor;
    KeyHandler onKey;
    Focus focus = Focus::none;
    std::optional<Binding<bool>> isFocused;
    /// It is one thing, named by what is in it.
    bool isButton = false;
    WindowAction windowAction = WindowAction::none;
    String help;
    /// Asked for its items when it opens.
    MenuItems menu;
    /// Null while it isn't presented. Palette and source are the node's to say.
    std::shared_ptr<const AlertRequest> alert;

    bool isFocusedByPress() const { return focus == Focus::byPressToo || focus == Focus::byPressAlone; }
    bool takesPress() const { return onTap || menu || isFocusedByPress(); }
    bool wantsPointer() const { return takesPress() || onHover || cursor; }
};

}  // namespace vellumix::view
