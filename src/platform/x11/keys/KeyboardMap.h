#pragma once

#include <cstdint>
#include <optional>

#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/ObserverList.h"
#include "platform/x11/keys/KeyCodes.h"
#include "platform/x11/keys/KeyboardHandles.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// What the keys of the display mean, and when that changes (X Keyboard Extension 1.0). After a change it is
/// read anew at the next question: programs change it many times over before anybody types. On a connection
/// that has this, a key that is held comes as presses without releases between them. Main thread.
class KeyboardMap {
public:
    explicit KeyboardMap(Connection& connection);
    KeyboardMap(const KeyboardMap&) = delete;
    KeyboardMap& operator=(const KeyboardMap&) = delete;

    /// The present keymap, shared; null where the server has never told one. The same object until the next
    /// change. Waits for the server for some milliseconds after a change.
    xkb::Keymap keymap();
    /// Which keys and bits are the modifiers. Waits for the server after a change.
    const ModifierMap& modifiers();
    /// What keymaps and tables of composing are made with; null without memory.
    xkb_context* context() const { return context_.get(); }
    /// Another keyboard is in use, or its keys mean something else. Told from the loop, several changes in a
    /// row as one.
    Observation observe(std::function<void()> observer) { return observers.add(std::move(observer)); }

private:
    void changed();

    Connection& connection;
    xkb::Context context_;
    /// Negative where the server lacks the extension.
    std::int32_t device = -1;
    std::uint8_t firstEvent = 0;
    xkb::Keymap keymap_;
    bool isKeymapStale = true;
    std::optional<ModifierMap> modifiers_;
    bool isNoticeDue = false;
    ObserverList<> observers;
    Observation events;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
