#pragma once

#include <memory>
#include <vector>

#include "platform/desktop/EventTap.h"

namespace vellumix::headless {

/// Taps in memory, to which every key comes that somebody presses here.
class EventTaps final : public vellumix::EventTaps {
public:
    CFMachPortRef CGEventTapCreate(const CGEventTapDescription& tap) override;
    CFRunLoopSourceRef CFMachPortCreateRunLoopSource(const CFMachPortRef& port) override;

    /// Somebody presses a key; false when a tap keeps it from the application in front.
    bool press(const CGEvent& event) { return deliver(CGEventType::keyDown, event); }
    /// The desktop disables every tap, and says why.
    void disable(CGEventType reason);
    /// The taps that hear what is pressed.
    int live() const;

    /// What other programs have.
    std::vector<KeyChord> taken;
    bool hasSources = true;

private:
    struct Port;

    bool deliver(CGEventType type, const CGEvent& event);

    std::vector<std::weak_ptr<Port>> ports;
};

}  // namespace vellumix::headless
