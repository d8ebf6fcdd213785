#include "platform/headless/EventTaps.h"

#include <algorithm>

namespace vellumix::headless {

struct EventTaps::Port final : CFMachPort {
    explicit Port(CGEventTapDescription tap) : tap(std::move(tap)) {}

    CGEventTapDescription tap;
};

CFMachPortRef EventTaps::CGEventTapCreate(const CGEventTapDescription& tap) {
    const auto isTaken = [this](const KeyChord& chord) {
        return std::ranges::find(taken, chord) != taken.end();
    };
    if (std::ranges::any_of(tap.mayKeep, isTaken)) return nullptr;
    auto port = std::make_shared<Port>(tap);
    std::erase_if(ports, [](const auto& each) { return each.expired(); });
    ports.push_back(port);
    return port;
}

CFRunLoopSourceRef EventTaps::CFMachPortCreateRunLoopSource(const CFMachPortRef& port) {
    return hasSources ? vellumix::EventTaps::CFMachPortCreateRunLoopSource(port) : nullptr;
}

void EventTaps::disable(CGEventType reason) {
    for (const auto& each : ports) {
        if (const auto port = each.lock()) port->isEnabled = false;
    }
    deliver(reason, {});
}

int EventTaps::live() const {
    return static_cast<int>(std::ranges::count_if(ports, [](const auto& each) {
        const auto port = each.lock();
        return port && port->isEnabled && port->hasSource;
    }));
}

bool EventTaps::deliver(CGEventType type, const CGEvent& event) {
    // The callback may end its own tap.
    const auto present = ports;
    for (const auto& each : present) {
        const auto port = each.lock();
        if (!port || !port->hasSource || (type == CGEventType::keyDown && !port->isEnabled)) continue;
        if (!port->tap.callback(type, event, port->tap.userInfo)) return false;
    }
    return true;
}

}  // namespace vellumix::headless
