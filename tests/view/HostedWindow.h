#pragma once

#include <memory>
#include <string_view>

#include "platform/view/HostingView.h"
#include "platform/view/Views.h"
#include "support/HeadlessTest.h"

namespace vellumix::view {

/// A root view in a window of the headless desktop, on fixed metrics.
class HostedWindowTest : public HeadlessTest {
protected:
    HostedWindowTest() { Renderer::shared().setTexts(fixedTextSetter()); }

    headless::Window& open(HostingView::RootMaker root,
                           NSWindow::Options options = {.frame = {{100, 100}, {300, 200}}}) {
        window = desktop.windows.makeWindow(options);
        host = std::make_unique<HostingView>(*window, std::move(root));
        host->orderFront();
        host->window().makeKeyWindow();
        desktop.runLoop.settle();
        return shown(options.kind);
    }
    headless::Window& open(const View& root) {
        return open([root](const Chrome&) { return root; });
    }

    headless::Window& shown(NSWindow::Kind kind) { return *desktop.windows.shown(kind); }

    /// Where a view of the window is, in the points of its events.
    Point centreOf(ViewTree& tree, Role role, std::string_view label) {
        const auto semantics = tree.semantics();
        const auto* found = semantics.find(role, label);
        EXPECT_NE(found, nullptr) << label << " isn't in\n" << tree.semanticsDump();
        return found ? found->frame.centre() : Point();
    }

    std::unique_ptr<NSWindow> window;
    std::unique_ptr<HostingView> host;
};

}  // namespace vellumix::view
