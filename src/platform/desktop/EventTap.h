#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/desktop/Keyboard.h"

/// Keys of the whole session that a program may look at, and take, before their application gets them.
namespace vellumix {

enum class CGEventType : std::uint32_t {
    keyDown = 10,
    /// The desktop stopped the tap, as it answered too slowly.
    tapDisabledByTimeout = 0xFFFFFFFE,
    /// The desktop took the keys away.
    tapDisabledByUserInput = 0xFFFFFFFF,
};

inline constexpr CGEventFlags kCGEventFlagMaskAlphaShift = 0x10000;

/// A key that is pressed. Its flags say how the modifiers and Caps Lock stand.
struct CGEvent {
    KeyChord chord;
    /// It has been down since an earlier event.
    bool isAutorepeat = false;
};

enum class CGEventField { kCGKeyboardEventAutorepeat = 8, kCGKeyboardEventKeycode = 9 };

inline CGEventFlags CGEventGetFlags(const CGEvent& event) { return event.chord.flags; }
inline std::int64_t CGEventGetIntegerValueField(const CGEvent& event, CGEventField field) {
    return field == CGEventField::kCGKeyboardEventKeycode ? event.chord.keyCode : event.isAutorepeat;
}

/// The event that goes on to its application, or null to keep it from there. Called from the main loop, and
/// waited for: nobody on the desktop types meanwhile. The event of a tap that was disabled says nothing more.
using CGEventTapCallBack = const CGEvent* (*)(CGEventType type, const CGEvent& event, void* userInfo);

enum class CGEventTapLocation { kCGHIDEventTap = 0 };
enum class CGEventTapPlacement { kCGHeadInsertEventTap = 0 };
/// By this one, events can be kept from their application.
enum class CGEventTapOptions { kCGEventTapOptionDefault = 0 };

struct CGEventTapDescription {
    CGEventTapLocation location = CGEventTapLocation::kCGHIDEventTap;
    CGEventTapPlacement placement = CGEventTapPlacement::kCGHeadInsertEventTap;
    CGEventTapOptions options = CGEventTapOptions::kCGEventTapOptionDefault;
    /// The bits of the types of events.
    std::uint64_t eventsOfInterest = 0;
    /// All that the callback may ever want to keep: other keys need not come to it. So no program has to see
    /// all that is typed for the sake of one combination.
    std::vector<KeyChord> mayKeep;
    CGEventTapCallBack callback = nullptr;
    void* userInfo = nullptr;
};

/// A tap. It ends, and its keys are given back, with its last holder.
class CFMachPort {
public:
    virtual ~CFMachPort() = default;

    bool isEnabled = false;
    /// Whether its source is in the loop.
    bool hasSource = false;
};
using CFMachPortRef = std::shared_ptr<CFMachPort>;

/// What brings a tap's events into the main loop.
struct CFRunLoopSource {
    std::weak_ptr<CFMachPort> port;
};
using CFRunLoopSourceRef = std::shared_ptr<CFRunLoopSource>;

/// Event taps. Main thread only; waits for no other program.
///
/// A key that the program itself posts comes to none of its taps, whatever they want. Nor does a key that the
/// program's own windows get, or one that another program has to itself, as an open menu has. A press that
/// passes is to its application as if there were no tap: once, in its order, and with its release. The
/// release of a press that was kept is kept too, unless other keys went on before it.
class EventTaps {
public:
    virtual ~EventTaps() = default;
    /// A tap that hears of nothing before it is enabled and its source is in the loop. Null when the desktop
    /// doesn't give one, as when another program has one of the combinations.
    virtual CFMachPortRef CGEventTapCreate(const CGEventTapDescription& tap) = 0;
    void CGEventTapEnable(const CFMachPortRef& tap, bool isEnabled) { tap->isEnabled = isEnabled; }
    /// Null when there can be none.
    virtual CFRunLoopSourceRef CFMachPortCreateRunLoopSource(const CFMachPortRef& port) {
        return std::make_shared<CFRunLoopSource>(CFRunLoopSource{port});
    }
    /// The loop is the main one, in all its modes.
    void CFRunLoopAddSource(const CFRunLoopSourceRef& source) { setIsInLoop(*source, true); }
    void CFRunLoopRemoveSource(const CFRunLoopSourceRef& source) { setIsInLoop(*source, false); }

private:
    static void setIsInLoop(const CFRunLoopSource& source, bool isInLoop) {
        if (const auto port = source.port.lock()) port->hasSource = isInLoop;
    }
};

}  // namespace vellumix
