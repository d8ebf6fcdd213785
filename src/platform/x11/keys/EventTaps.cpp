#include "platform/x11/keys/EventTaps.h"

#include <algorithm>
#include <utility>

namespace vellumix::x11 {

struct EventTaps::Port final : CFMachPort {
    Port(EventTaps& taps, CGEventTapDescription tap)
        : tap(std::move(tap)), end(taps.lifetime.weakly([&taps] { taps.letGo(); })) {}
    ~Port() override {
        grabs.clear();
        end();
    }

    const CGEventTapDescription tap;
    /// One for each combination of the tap, in its order.
    std::vector<std::unique_ptr<KeyGrabs::Grab>> grabs;
    std::function<void()> end;
};

EventTaps::EventTaps(Connection& connection, KeyGrabs& grabs, std::function<bool()> hasKeyboard)
    : connection(connection), grabs(grabs), hasKeyboard(std::move(hasKeyboard)) {
    grabs.setFilter(KeyGrabs::Manner::asked, [this](const auto& key) { return take(key); });
}

EventTaps::~EventTaps() {
    letGo();
    grabs.setFilter(KeyGrabs::Manner::asked, {});
}

CFMachPortRef EventTaps::CGEventTapCreate(const CGEventTapDescription& tap) {
    // There are no taps on anything else.
    constexpr auto presses = std::uint64_t{1} << static_cast<unsigned>(CGEventType::keyDown);
    if ((tap.eventsOfInterest & presses) == 0) return nullptr;
    const auto port = std::make_shared<Port>(*this, tap);
    const auto onLoss = lifetime.weakly([this, lost = std::weak_ptr<Port>(port)] {
        if (const auto port = lost.lock()) lose(*port);
    });
    for (const auto& chord : tap.mayKeep) {
        const auto position = positionOfVirtualKey(chord.keyCode);
        auto grab =
            position ? grabs.grab({.key = keyCodeOf(*position),
                                   .modifiers = {.hasShift = (chord.flags & kCGEventFlagMaskShift) != 0,
                                                 .hasControl = (chord.flags & kCGEventFlagMaskControl) != 0,
                                                 .hasOption = (chord.flags & kCGEventFlagMaskAlternate) != 0,
                                                 .hasCommand = (chord.flags & kCGEventFlagMaskCommand) != 0}},
                                  KeyGrabs::Manner::asked, onLoss)
                     : nullptr;
        if (!grab) return nullptr;
        port->grabs.push_back(std::move(grab));
    }
    std::erase_if(ports, [](const auto& each) { return each.expired(); });
    ports.push_back(port);
    return port;
}

bool EventTaps::take(const xcb_key_press_event_t& event) {
    // A window of the program that has grabbed the keyboard gets its keys like any other.
    if (event.event != connection.root()) return false;
    const bool isPress = (event.response_type & 0x7F) == XCB_KEY_PRESS;
    // Its release may have gone elsewhere, as to a window of ours; then a press is a new one.
    if (kept == event.detail && (!isPress || held.is(event.detail))) {
        // The repetitions go with their press, and aren't asked about: a file list would take them for the
        // beginning of a name and go to that file, before the keys are up and what was kept can have its
        // effect.
        if (!isPress) {
            kept.reset();
            held.letGo(event.detail);
        }
        answer(isPress ? XCB_ALLOW_SYNC_KEYBOARD : XCB_ALLOW_ASYNC_KEYBOARD);
        return true;
    }
    std::shared_ptr<Port> port;
    for (const auto& each : ports) {
        const auto one = each.lock();
        const auto isPressed = [&](const auto& grab) { return grab->isPressedBy(event); };
        if (isPress && one && std::ranges::any_of(one->grabs, isPressed)) port = one;
    }
    if (!port) {
        // Another key while one that was kept is down, or a press for a tap that has just ended. Elsewhere it
        // has no effect.
        kept.reset();
        answer(XCB_ALLOW_REPLAY_KEYBOARD);
        return false;
    }
    if (ask(event, *port)) {
        kept.reset();
        answer(XCB_ALLOW_REPLAY_KEYBOARD);
    } else {
        kept = event.detail;
        // Up to the release, or to another key, which then goes its own way.
        answer(XCB_ALLOW_SYNC_KEYBOARD);
    }
    held.hold(event.detail);
    return true;
}

bool EventTaps::ask(const xcb_key_press_event_t& event, const Port& port) {
    if (!port.isEnabled || !port.hasSource || (hasKeyboard && hasKeyboard())) return true;
    const auto pressed =
        std::ranges::find_if(port.grabs, [&](const auto& grab) { return grab->isPressedBy(event); });
    auto chord = port.tap.mayKeep[static_cast<std::size_t>(pressed - port.grabs.begin())];
    if (event.state & XCB_MOD_MASK_LOCK) chord.flags |= kCGEventFlagMaskAlphaShift;
    const CGEvent press{.chord = chord, .isAutorepeat = held.is(event.detail)};
    return port.tap.callback(CGEventType::keyDown, press, port.tap.userInfo) != nullptr;
}

void EventTaps::lose(Port& port) {
    if (!std::exchange(port.isEnabled, false) || !port.hasSource) return;
    port.tap.callback(CGEventType::tapDisabledByUserInput, {}, port.tap.userInfo);
}

void EventTaps::answer(xcb_allow_t where) {
    xcb_allow_events(connection.xcb(), static_cast<std::uint8_t>(where), XCB_CURRENT_TIME);
    xcb_flush(connection.xcb());
}

void EventTaps::letGo() {
    // A press may be waiting that nobody will answer now.
    answer(XCB_ALLOW_REPLAY_KEYBOARD);
    if (kept && !(hasKeyboard && hasKeyboard())) {
        xcb_ungrab_keyboard(connection.xcb(), XCB_CURRENT_TIME);
        xcb_flush(connection.xcb());
    }
    kept.reset();
}

}  // namespace vellumix::x11
