#pragma once

#include <memory>
#include <stdexcept>
#include <string_view>

#include "platform/view/values/Views.h"
#include "platform/view/windows/HostingView.h"
#include "support/FixedTextSetter.h"
#include "support/HeadlessTest.h"

namespace vellumix::view {

/// A root view in a window of the headless desktop, on fixed metrics.
class HostedWindowTest : public HeadlessTest {
protected:
    HostedWindowTest() { Renderer::shared().setTexts(fixedTextSetter()); }

    headless::Window& open(HostingView::RootMaker root,
                           NSWindow::Options options = {.frame = {{100, 100}, {300, 200}}}) {
        host.reset();
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

    headless::Window& shown(NSWindow::Kind kind) {
        auto* found = desktop.windows.shown(kind);
        if (!found) throw std::runtime_error("No such window is shown");
        return *found;
    }
    bool isShown(NSWindow::Kind kind) { return desktop.windows.shown(kind); }
    static ViewTree& treeOf(headless::Window& hosted) {
        return dynamic_cast<HostingView&>(*hosted.delegate()).tree();
    }

    /// A view of the window; its frame is in the points of the window's events.
    SemanticNode find(headless::Window& hosted, Role role, std::string_view label) {
        desktop.runLoop.advance(0.05);
        const auto semantics = treeOf(hosted).semantics();
        const auto* found = semantics.find(role, label);
        EXPECT_NE(found, nullptr) << label << " isn't in\n" << treeOf(hosted).semanticsDump();
        return found ? *found : SemanticNode();
    }
    Point centreOf(headless::Window& hosted, Role role, std::string_view label) {
        return find(hosted, role, label).frame.centre();
    }
    void click(headless::Window& hosted, Role role, std::string_view label) {
        const auto at = centreOf(hosted, role, label);
        hosted.delegate()->pointerPressed({.at = at});
        // It may have gone by the press.
        if (hosted.delegate()) hosted.delegate()->pointerReleased(at, PointerButton::primary);
        desktop.runLoop.settle();
    }
    void press(Key key, const std::string& text = {}) {
        auto* keyWindow = desktop.windows.keyWindow();
        ASSERT_NE(keyWindow, nullptr);
        keyWindow->delegate()->keyPressed({key, text});
        desktop.runLoop.advance(0.05);
    }

    std::unique_ptr<NSWindow> window;
    std::unique_ptr<HostingView> host;
};

}  // namespace vellumix::view
