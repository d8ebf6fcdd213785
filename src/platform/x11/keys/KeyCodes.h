#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/desktop/Event.h"
#include "platform/x11/server/Connection.h"

/// The keys of the board as the X server counts them.
namespace vellumix::x11 {

/// The position of a key as `KeyEvent` counts it: key codes of X are those of evdev and 8 more.
unsigned positionOf(xcb_keycode_t code);
/// The inverse; 0, which is no key, for a position that X can't count.
xcb_keycode_t keyCodeOf(unsigned position);
/// The small letter by which an American board names the key at a position; none where it names it by another
/// sign.
std::optional<char> letterAt(unsigned position);

/// Which keys are down at this moment, whoever has the keyboard. Made by asking the server, and waiting for
/// it.
class KeysDown {
public:
    explicit KeysDown(Connection& connection);

    bool any() const {
        return std::ranges::any_of(bits, [](std::uint8_t byte) { return byte != 0; });
    }
    bool test(xcb_keycode_t code) const { return (bits[code / 8] >> (code % 8) & 1U) != 0; }

private:
    std::array<std::uint8_t, 32> bits{};
};

/// Which keys are modifiers, and which bits of an event's state are which (X protocol, section 5, and its
/// request "GetModifierMapping"). Made by asking the server, and waiting for it; `KeyboardMap` has the
/// present one.
class ModifierMap {
public:
    /// Bits of the state.
    using Mask = std::uint16_t;

    explicit ModifierMap(Connection& connection);

    /// The bits of Alt and Super, one each; those that nearly every keyboard has where this one doesn't tell.
    Mask option() const { return option_; }
    Mask command() const { return command_; }
    /// Those of Caps Lock, Num Lock and Scroll Lock.
    Mask locks() const { return locks_; }
    /// The bits that are set while these are held.
    Mask maskOf(const KeyModifiers& held) const;

    /// The keys that set one of these bits, in the order of the keyboard's map.
    std::vector<xcb_keycode_t> keysOf(Mask mask) const;

    friend bool operator==(const ModifierMap&, const ModifierMap&) = default;

private:
    static constexpr std::size_t modifierCount = 8;

    std::array<std::vector<xcb_keycode_t>, modifierCount> keys;
    Mask option_ = XCB_MOD_MASK_1;
    Mask command_ = XCB_MOD_MASK_4;
    Mask locks_ = XCB_MOD_MASK_LOCK;
};

}  // namespace vellumix::x11
