#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/desktop/Platform.h"

namespace vellumix {

/// What a display server gives: the pasteboard, the windows, the keys, the other applications. Main thread
/// only.
class Display {
public:
    virtual ~Display() = default;

    /// Sets the display's own services, which live as long as this, and the font families.
    virtual void fill(Platform& platform) = 0;
    /// Name of the icon theme, where the desktop tells it.
    virtual std::optional<std::string> iconTheme() const { return std::nullopt; }
    /// Whether a window of the program keeps the keys from all others.
    virtual bool hasKeyboard() const { return false; }
    /// Whether somebody sees the windows and can answer what they ask.
    virtual bool isSeen() const { return true; }
    /// Calls back once when the display has ended by itself.
    virtual Observation observeEnd(std::function<void()> handler) = 0;
};

}  // namespace vellumix
