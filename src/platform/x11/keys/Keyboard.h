#pragma once

#include <bitset>
#include <optional>

#include "platform/desktop/Event.h"
#include "platform/x11/keys/KeyboardMap.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// What is typed: presses by the keyboard's map, its layouts, and dead and compose keys (X Keyboard Extension
/// 1.0). Main thread; waits for the server where keys are pressed after a change of the map, and in `reset`.
class Keyboard {
public:
    Keyboard(Connection& connection, KeyboardMap& map);
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    /// What a press says; absent for a modifier and for a key that waits for the next one to compose with.
    std::optional<KeyEvent> pressed(const xcb_key_press_event_t& event);
    void released(const xcb_key_release_event_t& event);
    /// Forgets what is half composed, and takes the keys that are down for held: the keyboard goes to another
    /// window.
    void reset();
    /// The modifiers in the state of a pointer event.
    static KeyModifiers modifiersOf(std::uint32_t state);

private:
    /// Makes ready for the present keymap, if it is another one.
    void followKeymap();
    std::string characterOf(xkb_keycode_t code) const;
    bool isLatin(xkb_layout_index_t layout) const;
    /// What the key types after what has been composed; absent while composing goes on.
    std::optional<std::string> composed(xkb_keysym_t symbol, std::string typed);

    Connection& connection;
    KeyboardMap& map;
    xkb::Keymap keymap;
    xkb::State state;
    /// Made at the first dead or compose key, as its table is large.
    xkb::ComposeTable composeTable;
    xkb::ComposeState compose;
    /// The layout whose signs name the keys, for each layout: itself, or the first with Latin letters. Absent
    /// where none has them; then their places name the keys of letters.
    std::vector<std::optional<xkb_layout_index_t>> namingLayouts;
    std::bitset<256> down;
};

}  // namespace vellumix::x11
