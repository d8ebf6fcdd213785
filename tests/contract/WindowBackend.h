#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/desktop/Window.h"

namespace vellumix::tests {

/// A desktop whose windows are to hold the contract of platform/desktop/Window.h, and a person at it.
class WindowBackend {
public:
    virtual ~WindowBackend() = default;

    /// Why the desktop can't be had here; empty when it can.
    virtual std::string trouble() const { return {}; }
    virtual WindowServer& windows() = 0;
    /// Presses and releases the key at that position (linux/input-event-codes.h).
    virtual void typeKey(unsigned position) = 0;
    /// Presses and releases the primary button at a place of the screen.
    virtual void click(Point at) = 0;
    /// Lets time pass until the condition holds; false when it doesn't within some seconds.
    virtual bool wait(const std::function<bool()>& condition) = 0;
    /// Lets everything happen that is under way.
    virtual void settle() = 0;
};

std::unique_ptr<WindowBackend> makeHeadlessWindows();
std::unique_ptr<WindowBackend> makeX11Windows();

}  // namespace vellumix::tests
