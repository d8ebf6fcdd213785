#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/desktop/Window.h"
#include "platform/view/windows/HostingView.h"

namespace vellumix {

/// The one window that shows the whole user interface: floats above all others, takes the keyboard when it is
/// shown, and leaves the front application in front. Main thread only.
class FloatingPanel {
public:
    static constexpr Size minSize{320, 500};
    static constexpr Size maxSize{800, 1000};

    /// Hidden at first.
    FloatingPanel(const Size& size, const view::View& root);

    bool canBecomeKey() const { return true; }
    bool canBecomeMain() const { return true; }

    NSWindow& window() { return *window_; }
    const NSWindow& window() const { return *window_; }
    view::HostingView& hostingView() { return *hostingView_; }

    /// Calls `onClickOutside` from now on when a press on another program's window hits the screen outside of
    /// the frame, for as long as the panel is visible.
    void addClickMonitor();
    void removeClickMonitor() { clickMonitor.reset(); }

    std::function<void()> onClickOutside;
    std::optional<Observation> clickMonitor;

private:
    void clickedElsewhere();

    std::unique_ptr<NSWindow> window_;
    std::unique_ptr<view::HostingView> hostingView_;
};

}  // namespace vellumix
