#pragma once

#include <algorithm>
#include <functional>
#include <list>
#include <memory>
#include <optional>

#include "platform/desktop/Keyboard.h"
#include "platform/x11/keys/KeyCodes.h"
#include "platform/x11/keys/KeyboardMap.h"

namespace vellumix::x11 {

/// Hotkeys by grabs of keys on the root window (X protocol, request "GrabKey"), one for each way in which the
/// lock keys can stand. They follow the keyboard when its modifiers change. While a window of the program
/// holds the whole keyboard, a hotkey is taken before it; while another program does, as an open menu does,
/// none arrives.
///
/// A combination that another program turns out to have once the modifiers have changed is tried again every
/// few seconds, and at each change of the keyboard: the server doesn't tell when a grab ends.
class Hotkeys final : public vellumix::Hotkeys {
public:
    /// Both must outlive it.
    Hotkeys(Connection& connection, KeyboardMap& keyboard);
    ~Hotkeys() override;
    Hotkeys(const Hotkeys&) = delete;
    Hotkeys& operator=(const Hotkeys&) = delete;

    std::optional<Observation> RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                   const EventHandlerRef& target) override;
    bool hasAllHotKeys() const override {
        return std::ranges::all_of(registrations, &Registration::isGrabbed);
    }

private:
    struct Registration {
        xcb_keycode_t key;
        std::uint32_t modifiers;
        std::weak_ptr<const std::function<void()>> target;
        bool isGrabbed = true;
    };

    /// Whether the key is a hotkey, or the rest of one.
    bool take(const xcb_key_press_event_t& event);
    void hold(xcb_keycode_t key);
    void keyboardChanged();
    void grabWhatIsMissing();
    /// All grabs of the registration, or none.
    bool grab(const Registration& registration);
    void ungrab(const Registration& registration);
    /// The modifiers of a registration, without the locks, and with them in every way in which they can
    /// stand.
    ModifierMap::Mask modifiersOf(const Registration& registration) const;
    std::vector<ModifierMap::Mask> statesOf(const Registration& registration) const;

    Connection& connection;
    KeyboardMap& keyboard;
    /// With which the present grabs were made.
    ModifierMap modifiers;
    std::list<Registration> registrations;
    /// The hotkey that is down, until it is seen to be up.
    std::optional<xcb_keycode_t> held;
    std::unique_ptr<NSTimer> holding;
    std::unique_ptr<NSTimer> retry;
    Observation changes;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
