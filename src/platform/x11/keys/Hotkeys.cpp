#include "platform/x11/keys/Hotkeys.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/loop/Log.h"

namespace vellumix::x11 {

namespace {

/// Shorter than two presses of one key can follow each other.
constexpr double holdingSeconds = 0.05;
constexpr double retrySeconds = 3;

}  // namespace

Hotkeys::Hotkeys(Connection& connection, KeyboardMap& keyboard)
    : _connection(connection), _keyboard(keyboard), _modifiers(keyboard.modifiers()) {
    connection.filterKeys([this](const auto& key) { return take(key); });
    _changes = _keyboard.observe([this] { keyboardChanged(); });
}

Hotkeys::~Hotkeys() {
    _connection.filterKeys({});
    for (const auto& registration : _registrations) ungrab(registration);
}

std::optional<Observation> Hotkeys::RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                        const EventHandlerRef& target) {
    const auto position = positionOfVirtualKey(keyCode);
    if (!position) return std::nullopt;
    const Registration wanted{keyCodeOf(*position), modifiers, target};
    // The server would let one program grab a key twice, and the first to let it go would end both.
    const bool isOurs = std::ranges::any_of(_registrations, [&](const Registration& one) {
        return one.key == wanted.key && modifiersOf(one) == modifiersOf(wanted);
    });
    if (isOurs || !grab(wanted)) return std::nullopt;
    const auto at = _registrations.insert(_registrations.end(), wanted);
    return Observation(_lifetime.weakly([this, at] {
        if (at->isGrabbed) ungrab(*at);
        _registrations.erase(at);
    }));
}

ModifierMap::Mask Hotkeys::modifiersOf(const Registration& registration) const {
    using Mask = ModifierMap::Mask;
    const std::pair<std::uint32_t, Mask> bits[] = {
        {shiftKey, Mask{XCB_MOD_MASK_SHIFT}},
        {controlKey, Mask{XCB_MOD_MASK_CONTROL}},
        {optionKey, _modifiers.option()},
        {cmdKey, _modifiers.command()},
    };
    Mask wanted = 0;
    for (const auto& [carbon, mask] : bits) {
        if (registration.modifiers & carbon) wanted |= mask;
    }
    return wanted;
}

std::vector<ModifierMap::Mask> Hotkeys::statesOf(const Registration& registration) const {
    using Mask = ModifierMap::Mask;
    const auto wanted = modifiersOf(registration);
    std::vector<Mask> states;
    // Every subset of the locks.
    for (Mask locks = _modifiers.locks();; locks = static_cast<Mask>((locks - 1) & _modifiers.locks())) {
        states.push_back(static_cast<Mask>(wanted | locks));
        if (locks == 0) return states;
    }
}

bool Hotkeys::grab(const Registration& registration) {
    auto* const xcb = _connection.xcb();
    std::vector<xcb_void_cookie_t> requests;
    for (const auto state : statesOf(registration)) {
        requests.push_back(xcb_grab_key_checked(xcb, 0, _connection.root(), state, registration.key,
                                                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    // All answers are taken, so that none of them ends up among the events.
    const auto refused = std::ranges::count_if(
        requests, [&](xcb_void_cookie_t request) { return !xcb::succeeded(xcb, request); });
    if (refused > 0) ungrab(registration);
    return refused == 0;
}

void Hotkeys::ungrab(const Registration& registration) {
    for (const auto state : statesOf(registration)) {
        xcb_ungrab_key(_connection.xcb(), registration.key, _connection.root(), state);
    }
}

void Hotkeys::keyboardChanged() {
    if (const auto& modifiers = _keyboard.modifiers(); modifiers != _modifiers) {
        for (auto& registration : _registrations) {
            ungrab(registration);
            registration.isGrabbed = false;
        }
        _modifiers = modifiers;
    }
    const bool hadAll = !_retry;
    grabWhatIsMissing();
    if (_retry && hadAll) Log("Hotkeys").error("With this keyboard, another program has the hotkey");
}

void Hotkeys::grabWhatIsMissing() {
    for (auto& registration : _registrations) {
        if (!registration.isGrabbed) registration.isGrabbed = grab(registration);
    }
    if (hasAllHotKeys()) {
        _retry.reset();
    } else if (!_retry) {
        _retry = _connection.runLoop().repeatingTimer(retrySeconds, [this] { grabWhatIsMissing(); });
    }
}

bool Hotkeys::take(const xcb_key_press_event_t& event) {
    if ((event.response_type & 0x7F) == XCB_KEY_RELEASE) {
        if (_held == event.detail) hold(0);
        return event.event == _connection.root();
    }
    // The rest of the state are the buttons of the pointer and the layout.
    const int held = event.state & 0xFF & ~_modifiers.locks();
    const auto pressed = std::ranges::find_if(_registrations, [&](const Registration& one) {
        return one.key == event.detail && held == modifiersOf(one);
    });
    if (pressed == _registrations.end()) return false;
    // A window of the program may take the keyboard or let it go between a press and its repetitions.
    const bool isRepetition = _held == event.detail;
    hold(event.detail);
    if (isRepetition) return true;
    // The registration may end within the call.
    if (const auto target = pressed->target.lock()) (*target)();
    return true;
}

void Hotkeys::hold(xcb_keycode_t key) {
    if (key == 0) {
        _held.reset();
        _holding.reset();
        return;
    }
    if (_held == key) return;
    _held = key;
    // The release may go to another program.
    _holding = _connection.runLoop().repeatingTimer(holdingSeconds, [this, key] {
        if (!KeysDown(_connection).test(key)) hold(0);
    });
}

}  // namespace vellumix::x11
