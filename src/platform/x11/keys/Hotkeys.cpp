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
    : connection(connection), keyboard(keyboard), modifiers(keyboard.modifiers()) {
    connection.filterKeys([this](const auto& key) { return take(key); });
    changes = this->keyboard.observe([this] { keyboardChanged(); });
}

Hotkeys::~Hotkeys() {
    connection.filterKeys({});
    for (const auto& registration : registrations) ungrab(registration);
}

std::optional<Observation> Hotkeys::RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                        const EventHandlerRef& target) {
    const auto position = positionOfVirtualKey(keyCode);
    if (!position) return std::nullopt;
    const Registration wanted{keyCodeOf(*position), modifiers, target};
    // The server would let one program grab a key twice, and the first to let it go would end both.
    const bool isOurs = std::ranges::any_of(registrations, [&](const Registration& one) {
        return one.key == wanted.key && modifiersOf(one) == modifiersOf(wanted);
    });
    if (isOurs || !grab(wanted)) return std::nullopt;
    const auto at = registrations.insert(registrations.end(), wanted);
    return Observation(lifetime.weakly([this, at] {
        if (at->isGrabbed) ungrab(*at);
        registrations.erase(at);
    }));
}

ModifierMap::Mask Hotkeys::modifiersOf(const Registration& registration) const {
    using Mask = ModifierMap::Mask;
    const std::pair<std::uint32_t, Mask> bits[] = {
        {shiftKey, Mask{XCB_MOD_MASK_SHIFT}},
        {controlKey, Mask{XCB_MOD_MASK_CONTROL}},
        {optionKey, modifiers.option()},
        {cmdKey, modifiers.command()},
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
    for (Mask locks = modifiers.locks();; locks = static_cast<Mask>((locks - 1) & modifiers.locks())) {
        states.push_back(static_cast<Mask>(wanted | locks));
        if (locks == 0) return states;
    }
}

bool Hotkeys::grab(const Registration& registration) {
    auto* const xcb = connection.xcb();
    std::vector<xcb_void_cookie_t> requests;
    for (const auto state : statesOf(registration)) {
        requests.push_back(xcb_grab_key_checked(xcb, 0, connection.root(), state, registration.key,
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
        xcb_ungrab_key(connection.xcb(), registration.key, connection.root(), state);
    }
}

void Hotkeys::keyboardChanged() {
    if (const auto& modifiers = keyboard.modifiers(); modifiers != this->modifiers) {
        for (auto& registration : registrations) {
            ungrab(registration);
            registration.isGrabbed = false;
        }
        this->modifiers = modifiers;
    }
    const bool hadAll = !retry;
    grabWhatIsMissing();
    if (retry && hadAll) Log("Hotkeys").error("With this keyboard, another program has the hotkey");
}

void Hotkeys::grabWhatIsMissing() {
    for (auto& registration : registrations) {
        if (!registration.isGrabbed) registration.isGrabbed = grab(registration);
    }
    if (hasAllHotKeys()) {
        retry.reset();
    } else if (!retry) {
        retry = connection.runLoop().repeatingTimer(retrySeconds, [this] { grabWhatIsMissing(); });
    }
}

bool Hotkeys::take(const xcb_key_press_event_t& event) {
    if ((event.response_type & 0x7F) == XCB_KEY_RELEASE) {
        if (this->held == event.detail) hold(0);
        return event.event == connection.root();
    }
    // The rest of the state are the buttons of the pointer and the layout.
    const int held = event.state & 0xFF & ~modifiers.locks();
    const auto pressed = std::ranges::find_if(registrations, [&](const Registration& one) {
        return one.key == event.detail && held == modifiersOf(one);
    });
    if (pressed == registrations.end()) return false;
    // A window of the program may take the keyboard or let it go between a press and its repetitions.
    const bool isRepetition = this->held == event.detail;
    hold(event.detail);
    if (isRepetition) return true;
    // The registration may end within the call.
    if (const auto target = pressed->target.lock()) (*target)();
    return true;
}

void Hotkeys::hold(xcb_keycode_t key) {
    if (key == 0) {
        held.reset();
        holding.reset();
        return;
    }
    if (held == key) return;
    held = key;
    // The release may go to another program.
    holding = connection.runLoop().repeatingTimer(holdingSeconds, [this, key] {
        if (!KeysDown(connection).test(key)) hold(0);
    });
}

}  // namespace vellumix::x11
