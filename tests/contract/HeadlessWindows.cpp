#include "contract/WindowBackend.h"
#include "platform/headless/VirtualRunLoop.h"
#include "platform/headless/Windows.h"

namespace vellumix::tests {

namespace {

class HeadlessWindows final : public WindowBackend {
public:
    WindowServer& windows() override { return windows_; }
    void typeKey(unsigned position) override {
        auto* const key = windows_.keyWindow();
        if (key && key->delegate()) key->delegate()->keyPressed({.position = position});
    }
    void click(Point at) override {
        const auto& windows = windows_.windows();
        for (auto found = windows.rbegin(); found != windows.rend(); ++found) {
            auto* const window = *found;
            if (!window->isVisible() || window->ignoresMouseEvents || !window->frame().contains(at) ||
                !window->delegate()) {
                continue;
            }
            const auto insets = window->shadowInsets();
            const Point inside = at - window->frame().origin + Point{insets.leading, insets.top};
            window->delegate()->pointerPressed({.at = inside});
            window->delegate()->pointerReleased(inside, PointerButton::primary);
            windows_.releaseButton();
            return;
        }
        windows_.pressElsewhere(at);
        windows_.releaseButton();
    }
    bool wait(const std::function<bool()>& condition) override {
        settle();
        return condition();
    }
    void settle() override { runLoop.advance(1); }

private:
    headless::VirtualRunLoop runLoop;
    headless::WindowServer windows_{runLoop};
};

}  // namespace

std::unique_ptr<WindowBackend> makeHeadlessWindows() { return std::make_unique<HeadlessWindows>(); }

}  // namespace vellumix::tests
