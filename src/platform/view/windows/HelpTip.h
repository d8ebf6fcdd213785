#pragma once

#include <memory>
#include <optional>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/view/windows/AttachedWindow.h"

namespace vellumix::view {

/// What a help text looks like, in its window; for pictures.
View helpContent(const ViewTree::Help& help, const Chrome& chrome);

/// The help text that a window shows at the pointer: 0.6 seconds after it came to rest, at once where another
/// was shown until half a second before, and for ten seconds. Main thread only.
class HelpTip {
public:
    explicit HelpTip(Renderer& renderer) : renderer(renderer) {}

    /// The pointer is there, in the space of the monitors, over a view with this help or over none.
    void pointerMoved(Point pointer, const std::optional<ViewTree::Help>& help, const Rect& bounds);
    /// The window has been drawn anew: a text that isn't wanted any more goes.
    void helpChanged(const std::optional<ViewTree::Help>& help);
    /// Until the pointer has been elsewhere.
    void dismiss();

private:
    void show();
    void hide();

    Renderer& renderer;
    std::optional<ViewTree::Help> help;
    Point pointer;
    Rect bounds;
    /// By `RunLoop::uptime`.
    std::optional<double> lastShown;
    bool isDismissed = false;
    std::unique_ptr<AttachedWindow> window;
    std::unique_ptr<NSTimer> timer;
};

}  // namespace vellumix::view
