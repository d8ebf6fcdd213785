#include "delivery/GlobalCutInterceptor.h"

#include "delivery/FinderCutHighlighter.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/NotificationCenter.h"

namespace vellumix {

namespace {

/// Shift, Control, Option and Command: how the lock keys stand doesn't count.
constexpr CGEventFlags relevantModifiers =
    kCGEventFlagMaskShift | kCGEventFlagMaskControl | kCGEventFlagMaskAlternate | kCGEventFlagMaskCommand;
constexpr std::uint64_t keyDownMask = std::uint64_t{1} << static_cast<unsigned>(CGEventType::keyDown);
constexpr std::uint32_t keyC = 8;
constexpr std::uint32_t keyDelete = 51;

}  // namespace

void GlobalCutInterceptor::setShortcut(const Shortcut& wanted) {
    shortcut = wanted;
    shortcutFlags = modifierFlags(wanted.modifiers);
}

void GlobalCutInterceptor::start() {
    stop();
    auto& taps = *platform::current().eventTaps;
    auto tap = taps.CGEventTapCreate({.eventsOfInterest = keyDownMask,
                                      .mayKeep = {{.keyCode = shortcut.keyCode, .flags = shortcutFlags}},
                                      .callback = callback,
                                      .userInfo = this});
    if (!tap) {
        NotificationCenter::defaultCenter().post("CGEventTapCreationFailed");
        return;
    }
    auto source = taps.CFMachPortCreateRunLoopSource(tap);
    if (!source) return;
    eventTap = std::move(tap);
    runLoopSource = std::move(source);
    taps.CFRunLoopAddSource(runLoopSource);
    taps.CGEventTapEnable(eventTap, true);
}

void GlobalCutInterceptor::stop() {
    if (!eventTap) return;
    auto& taps = *platform::current().eventTaps;
    taps.CFRunLoopRemoveSource(runLoopSource);
    runLoopSource.reset();
    taps.CGEventTapEnable(eventTap, false);
    eventTap.reset();
}

const CGEvent* GlobalCutInterceptor::callback(CGEventType type, const CGEvent& event, void* userInfo) {
    auto* const interceptor = static_cast<GlobalCutInterceptor*>(userInfo);
    if (!interceptor) return &event;
    switch (type) {
        case CGEventType::tapDisabledByTimeout:
            platform::current().eventTaps->CGEventTapEnable(interceptor->eventTap, true);
            return &event;
        case CGEventType::tapDisabledByUserInput:
            NotificationCenter::defaultCenter().post("CGEventTapRevoked");
            return &event;
        case CGEventType::keyDown:
            return interceptor->handleKeyDown(event);
    }
    return &event;
}

const CGEvent* GlobalCutInterceptor::handleKeyDown(const CGEvent& event) {
    const auto front = platform::current().workspace->frontmostApplication();
    if (!front || front->kindIdentifier != fileManagerIdentifier) return &event;
    const bool isAutorepeat =
        CGEventGetIntegerValueField(event, CGEventField::kCGKeyboardEventAutorepeat) != 0;
    const auto keyCode = CGEventGetIntegerValueField(event, CGEventField::kCGKeyboardEventKeycode);
    const bool isShortcut =
        keyCode == shortcut.keyCode && (CGEventGetFlags(event) & relevantModifiers) == shortcutFlags;
    if (isAutorepeat || !isShortcut) return &event;
    postKeystroke(keyC, kCGEventFlagMaskCommand);
    postKeystroke(keyDelete, kCGEventFlagMaskCommand);
    FinderCutHighlighter::shared().clear();
    return nullptr;
}

void GlobalCutInterceptor::postKeystroke(std::uint32_t keyCode, CGEventFlags flags) {
    platform::current().syntheticKeys->CGEventPost({.keyCode = keyCode, .flags = flags});
}

}  // namespace vellumix
