#include "shell/panel/FloatingPanel.h"

#include "platform/desktop/Platform.h"
#include "shell/panel/AdaptiveContainerView.h"

namespace vellumix {

FloatingPanel::FloatingPanel(const Size& size, const view::View& root)
    : _window(platform::current().windows->makeWindow(
          {.kind = NSWindow::Kind::panel, .frame = {{}, size}, .title = {}})) {
    _window->setCornerRadius(AdaptiveContainerView::cornerRadius);
    _hostingView = std::make_unique<view::HostingView>(*_window, [root](const view::Chrome& chrome) {
        return view::View(AdaptiveContainerView{root, chrome});
    });
    _hostingView->setManners(
        {.isMovableByBackground = true, .isResizable = true, .minSize = minSize, .maxSize = maxSize});
}

void FloatingPanel::addClickMonitor() {
    // The panel owns the monitor, so that the handler never outlives it.
    clickMonitor = platform::current().windows->addGlobalMonitorForMouseDown([this] { clickedElsewhere(); });
}

void FloatingPanel::clickedElsewhere() {
    if (!_window->isVisible()) return;
    if (_window->frame().contains(platform::current().windows->mouseLocation())) return;
    if (onClickOutside) onClickOutside();
}

}  // namespace vellumix
