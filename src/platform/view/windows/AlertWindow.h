#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/foundation/memory/Lifetime.h"
#include "platform/view/windows/AttachedWindow.h"

namespace vellumix::view {

/// The number of the button that the enter key presses; absent where there is none.
std::optional<std::size_t> defaultButton(const AlertDescription& alert);

/// What an alert looks like, in its window; for pictures.
View alertContent(const AlertDescription& alert, const ControlPalette& palette, Renderer& renderer);

/// An alert that is up, from its making to its destruction. Main thread only.
class AlertWindow {
public:
    /// The number of the button that was pressed; absent where the window was closed or escaped from, and no
    /// button cancels. Called once at most, and may destroy the alert.
    using Answer = std::function<void(std::optional<std::size_t> button)>;

    /// Comes up in the middle of `over`, as far as `bounds` allow; both are in the space of the monitors.
    AlertWindow(const AlertDescription& alert, const ControlPalette& palette, const Rect& over,
                const Rect& bounds, Renderer& renderer, Answer onAnswer);
    ~AlertWindow();
    AlertWindow(const AlertWindow&) = delete;
    AlertWindow& operator=(const AlertWindow&) = delete;

    /// In front, with the keyboard.
    void raise();

private:
    void answer(std::optional<std::size_t> button);
    void cancel();

    Answer onAnswer;
    std::optional<std::size_t> cancelButton_;
    std::unique_ptr<AttachedWindow> window;
    Observation closing;
    Lifetime lifetime;
};

}  // namespace vellumix::view
