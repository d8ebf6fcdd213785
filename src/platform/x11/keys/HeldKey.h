#pragma once

#include <memory>
#include <optional>

#include "platform/x11/keys/KeyCodes.h"

namespace vellumix::x11 {

/// A key that is down, until it is seen to be up: its release may go to another program. Main thread.
class HeldKey {
public:
    explicit HeldKey(Connection& connection) : connection(connection) {}
    HeldKey(const HeldKey&) = delete;
    HeldKey& operator=(const HeldKey&) = delete;

    bool is(xcb_keycode_t key) const { return held == key; }
    void hold(xcb_keycode_t key) {
        if (held == key) return;
        held = key;
        watch = connection.runLoop().repeatingTimer(watchSeconds, [this, key] {
            if (!KeysDown(connection).test(key)) letGo(key);
        });
    }
    /// Does nothing when it is another key that is held.
    void letGo(xcb_keycode_t key) {
        if (held != key) return;
        held.reset();
        watch.reset();
    }

private:
    /// Shorter than two presses of one key can follow each other.
    static constexpr double watchSeconds = 0.05;

    Connection& connection;
    std::optional<xcb_keycode_t> held;
    std::unique_ptr<NSTimer> watch;
};

}  // namespace vellumix::x11
