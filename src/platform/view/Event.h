#pragma once

#include <functional>
#include <string>

namespace vellumix::view {

using Action = std::function<void()>;

enum class Cursor { arrow, pointingHand, text, resizeHorizontal, resizeVertical };

enum class PointerButton { primary, secondary, middle };

enum class Key {
    character,
    enter,
    escape,
    tab,
    space,
    backspace,
    deleteForward,
    left,
    right,
    up,
    down,
    home,
    end,
    pageUp,
    pageDown,
};

struct KeyModifiers {
    bool hasShift = false;
    bool hasControl = false;
    bool hasOption = false;
    bool hasCommand = false;

    friend bool operator==(const KeyModifiers&, const KeyModifiers&) = default;
};

struct KeyEvent {
    Key key = Key::character;
    /// What the key types, in UTF-8; empty where it types nothing.
    std::string text;
    KeyModifiers modifiers;
};

/// Answers whether the key was for it. One that was goes no further.
using KeyHandler = std::function<bool(const KeyEvent&)>;

}  // namespace vellumix::view
