#pragma once

#include "delivery/Shortcut.h"
#include "platform/desktop/EventTap.h"

namespace vellumix {

/// Gives file managers a cut: the shortcut is kept from them, and what is selected there is copied and then
/// moved to the trash. Everywhere else the shortcut passes on untouched. Main thread only.
///
/// What it posts can't come back to it, whatever the shortcut is: no posted key comes to a tap of the
/// program.
class GlobalCutInterceptor {
public:
    /// Stopped.
    explicit GlobalCutInterceptor(const Shortcut& shortcut) { setShortcut(shortcut); }
    GlobalCutInterceptor(const GlobalCutInterceptor&) = delete;
    GlobalCutInterceptor& operator=(const GlobalCutInterceptor&) = delete;

    /// In force from the next start on.
    void setShortcut(const Shortcut& wanted);
    /// Starts anew where it is started. Posts "CGEventTapCreationFailed" where the desktop doesn't give the
    /// shortcut, and "CGEventTapRevoked" when it takes it away later.
    void start();
    void stop();
    bool isStarted() const { return eventTap != nullptr; }

private:
    static const CGEvent* callback(CGEventType type, const CGEvent& event, void* userInfo);
    const CGEvent* handleKeyDown(const CGEvent& event);
    static void postKeystroke(std::uint32_t keyCode, CGEventFlags flags);

    CFMachPortRef eventTap;
    CFRunLoopSourceRef runLoopSource;
    Shortcut shortcut;
    CGEventFlags shortcutFlags = 0;
};

}  // namespace vellumix
