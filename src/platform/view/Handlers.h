#pragma once

#include <functional>
#include <optional>

#include "platform/view/View.h"

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
    /// The space and enter keys tap it.
    bool isButton = false;
    WindowAction windowAction = WindowAction::none;
    String help;

    bool isFocusedByPress() const { return focus == Focus::byPressToo || focus == Focus::byPressAlone; }
    bool wantsPointer() const { return onTap || onHover || cursor || isFocusedByPress(); }
};

}  // namespace vellumix::view
