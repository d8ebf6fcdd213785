#include "platform/x11/keys/Hotkeys.h"

#include <utility>

namespace vellumix::x11 {

Hotkeys::Hotkeys(Connection& connection, KeyGrabs& grabs) : connection(connection), grabs(grabs) {
    grabs.setFilter(KeyGrabs::Manner::taken, [this](const auto& key) { return take(key); });
}

Hotkeys::~Hotkeys() { grabs.setFilter(KeyGrabs::Manner::taken, {}); }

std::optional<Observation> Hotkeys::RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                        const EventHandlerRef& target) {
    const auto position = positionOfVirtualKey(keyCode);
    if (!position) return std::nullopt;
    auto grab = grabs.grab({.key = keyCodeOf(*position),
                            .modifiers = {.hasShift = (modifiers & shiftKey) != 0,
                                          .hasControl = (modifiers & controlKey) != 0,
                                          .hasOption = (modifiers & optionKey) != 0,
                                          .hasCommand = (modifiers & cmdKey) != 0}},
                           KeyGrabs::Manner::taken);
    if (!grab) return std::nullopt;
    const auto at = registrations.insert(registrations.end(), Registration{std::move(grab), target});
    return Observation(lifetime.weakly([this, at] { registrations.erase(at); }));
}

bool Hotkeys::take(const xcb_key_press_event_t& event) {
    if ((event.response_type & 0x7F) == XCB_KEY_RELEASE) {
        held.letGo(event.detail);
        return event.event == connection.root();
    }
    const auto pressed = std::ranges::find_if(
        registrations, [&](const Registration& one) { return one.grab->isPressedBy(event); });
    if (pressed == registrations.end()) return false;
    connection.userActed(event.time);
    // A window of the program may take the keyboard or let it go between a press and its repetitions.
    const bool isRepetition = held.is(event.detail);
    held.hold(event.detail);
    if (isRepetition) return true;
    // The registration may end within the call.
    if (const auto target = pressed->target.lock()) (*target)();
    return true;
}

}  // namespace vellumix::x11
