#include "shell/panel/FloatingPanel.h"

#include "platform/desktop/Platform.h"
#include "shell/panel/AdaptiveContainerView.h"

namespace vellumix {

FloatingPanel::FloatingPanel(const Size& size, const view::View& root)
    : window_(platform::current().windows->makeWindow(
          {.kind = NSWindow::Kind::panel, .frame = {{}, size}, .title = {}})) {
    window_->setCornerRadius(AdaptiveContainerView::cornerRadius);
    hostingView_ = std::make_unique<view::HostingView>(*window_, [root](const view::Chrome& chrome) {
        return view::View(AdaptiveContainerView{root, chrome});
    });
    hostingView_->setManners(
        {.isMovableByBackground = true, .isResizable = true, .minSize = minSize, .maxSize = maxSize});
}

void FloatingPanel::addClickMonitor() {
    // The panel owns the monitor, so that the handler never outlives it.
    clickMonitor = platform::current().windows->addGlobalMonitorForMouseDown([this] { clickedElsewhere(); });
}

void FloatingPanel::clickedElsewhere() {
    if (!window_->isVisible()) return;
    if (window_->frame().contains(platform::current().windows->mouseLocation())) return;
    if (onClickOutside) onClickOutside();
}

}  // namespace vellumix
