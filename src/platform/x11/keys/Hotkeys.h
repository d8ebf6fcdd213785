#pragma once

#include <algorithm>
#include <functional>
#include <list>
#include <memory>
#include <optional>

#include "platform/desktop/Keyboard.h"
#include "platform/x11/keys/HeldKey.h"
#include "platform/x11/keys/KeyGrabs.h"

namespace vellumix::x11 {

/// Hotkeys by grabs of keys. While a window of the program holds the whole keyboard, a hotkey is taken before
/// it. A combination that another program turns out to have once the modifiers have changed is tried again.
class Hotkeys final : public vellumix::Hotkeys {
public:
    /// Both must outlive it.
    Hotkeys(Connection& connection, KeyGrabs& grabs);
    ~Hotkeys() override;
    Hotkeys(const Hotkeys&) = delete;
    Hotkeys& operator=(const Hotkeys&) = delete;

    std::optional<Observation> RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                   const EventHandlerRef& target) override;
    bool hasAllHotKeys() const override {
        return std::ranges::all_of(registrations, [](const Registration& one) { return one.grab->isHeld(); });
    }

private:
    struct Registration {
        std::unique_ptr<KeyGrabs::Grab> grab;
        std::weak_ptr<const std::function<void()>> target;
    };

    /// Whether the key is a hotkey, or the rest of one.
    bool take(const xcb_key_press_event_t& event);

    Connection& connection;
    KeyGrabs& grabs;
    std::list<Registration> registrations;
    /// The hotkey that is down.
    HeldKey held{connection};
    Lifetime lifetime;
};

}  // namespace vellumix::x11
