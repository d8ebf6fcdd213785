#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "platform/desktop/Geometry.h"

/// What happens to a window, and what it wants.
namespace vellumix {

using Action = std::function<void()>;

enum class Cursor {
    arrow,
    pointingHand,
    text,
    resizeHorizontal,
    resizeVertical,
    /// From the top left to the bottom right.
    resizeDiagonalDown,
    /// From the bottom left to the top right.
    resizeDiagonalUp,
};

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
    insert,
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
    /// What the key types, in UTF-8, after dead and compose keys; empty where it types nothing, as for a key
    /// with Control.
    std::string text;
    KeyModifiers modifiers;
    /// The letter or sign on the key in lower case, whatever the modifiers say: what "Control and A" means.
    /// For a layout without Latin letters, that of the same key in the first layout that has them. Empty for
    /// a key without a sign.
    std::string character = text;
    /// The position of the key on the board, as evdev counts (linux/input-event-codes.h); 0 where there is
    /// none.
    unsigned position = 0;
    bool isRepeat = false;
};

/// Answers whether the key was for it. One that was goes no further.
using KeyHandler = std::function<bool(const KeyEvent&)>;

/// A press of a button of the pointer.
struct PointerPress {
    Point at;
    PointerButton button = PointerButton::primary;
    KeyModifiers modifiers;
    /// 1 for the first of several quick presses at one place.
    int clickCount = 1;
};

/// What an input method is composing: shown at the caret, and not yet part of the text.
struct MarkedText {
    /// UTF-8; empty when the composing ends without a result.
    std::string text;
    /// In bytes of the text.
    std::size_t caret = 0;

    friend bool operator==(const MarkedText&, const MarkedText&) = default;
};

}  // namespace vellumix
