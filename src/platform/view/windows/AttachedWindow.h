#pragma once

#include <memory>

#include "platform/view/values/Presentation.h"
#include "platform/view/windows/HostingView.h"

namespace vellumix::view {

/// A window that another opens for a while, with the views in it.
class AttachedWindow {
public:
    /// Hidden at first.
    AttachedWindow(const NSWindow::Options& options, HostingView::RootMaker root, Renderer& renderer);
    ~AttachedWindow();

    NSWindow& window() { return *window_; }
    HostingView& host() { return *host_; }

private:
    std::unique_ptr<NSWindow> window_;
    std::unique_ptr<HostingView> host_;
};

/// The room that a view takes where it is offered this width at most, in whole points.
Size fittingSize(const View& view, Renderer& renderer, double maximumWidth = unbounded);

/// Under the anchor by the gap, above it where there is no room, and inside the bounds in any case.
Rect placedUnder(const Rect& anchor, const Size& size, double gap, const Rect& bounds);
/// As near as the bounds allow.
Rect keptInside(const Rect& rect, const Rect& bounds);

/// A view as a small window of its own: ground, outline, corners, and a shadow where there is room for it.
View floating(const View& content, double cornerRadius, const ControlPalette& palette, const Chrome& chrome);

/// Black or white, whichever reads better on the colour.
Color readableOn(const Color& ground);

}  // namespace vellumix::view
