#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/desktop/Keyboard.h"
#include "platform/foundation/bytes/Data.h"

namespace vellumix {

/// A key with its modifiers, as the settings keep it and a hotkey takes it.
struct Shortcut {
    /// A virtual key code.
    std::uint32_t keyCode = 0;
    /// `cmdKey`, `shiftKey`, `optionKey`, `controlKey`; other bits are kept.
    std::uint32_t modifiers = 0;

    /// From a JSON object; absent unless "keyCode" and "modifiers" are whole numbers of 32 bits.
    static std::optional<Shortcut> decode(const Data& json);
    Data encode() const;

    friend bool operator==(const Shortcut&, const Shortcut&) = default;
};

/// What a person reads, such as "⌥⌘V".
std::string displayString(const Shortcut& shortcut);
/// The same as a PC's board names its keys, such as "Alt+Super+V".
std::string nameOnBoard(const Shortcut& shortcut);
/// What an American board has on the key; "?" for a key without a sign of its own.
std::string keyName(std::uint32_t keyCode);

/// The flags of an event with these modifiers; other bits are dropped.
CGEventFlags modifierFlags(std::uint32_t modifiers);
/// The inverse of `modifierFlags`.
std::uint32_t carbonModifiers(CGEventFlags eventFlags);

}  // namespace vellumix
