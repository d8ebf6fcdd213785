#pragma once

#include <cstdint>

#include "platform/foundation/observation/ObserverList.h"
#include "platform/x11/keys/KeyboardHandles.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// The keyboard of the display and its changes (X Keyboard Extension 1.0). On a connection with a watch, a
/// key that is held comes as presses without releases between them. Main thread.
class KeyboardWatch {
public:
    explicit KeyboardWatch(Connection& connection);
    KeyboardWatch(const KeyboardWatch&) = delete;
    KeyboardWatch& operator=(const KeyboardWatch&) = delete;

    /// False where the server lacks the extension.
    bool isAvailable() const { return _device >= 0; }
    /// What the keys mean at this moment; null when the server doesn't say. Takes some milliseconds.
    xkb::Keymap readKeymap(xkb_context* context) const;
    /// Another keyboard is in use, or its keys mean something else. One change may be told several times.
    Observation observe(std::function<void()> observer) { return _observers.add(std::move(observer)); }

private:
    Connection& _connection;
    std::int32_t _device = -1;
    std::uint8_t _firstEvent = 0;
    ObserverList<> _observers;
    Observation _events;
};

}  // namespace vellumix::x11
