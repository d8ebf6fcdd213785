#include "contract/WindowBackend.h"
#include "platform/headless/VirtualRunLoop.h"
#include "platform/headless/Windows.h"

namespace vellumix::tests {

namespace {

class HeadlessWindows final : public WindowBackend {
public:
    WindowServer& windows() override { return _windows; }
    void typeKey(unsigned position) override {
        auto* const key = _windows.keyWindow();
        if (key && key->delegate()) key->delegate()->keyPressed({.position = position});
    }
    void click(Point at) override {
        const auto& windows = _windows.windows();
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
            _windows.releaseButton();
            return;
        }
        _windows.pressElsewhere(at);
        _windows.releaseButton();
    }
    bool wait(const std::function<bool()>& condition) override {
        settle();
        return condition();
    }
    void settle() override { _runLoop.advance(1); }

private:
    headless::VirtualRunLoop _runLoop;
    headless::WindowServer _windows{_runLoop};
};

}  // namespace

std::unique_ptr<WindowBackend> makeHeadlessWindows() { return std::make_unique<HeadlessWindows>(); }

}  // namespace vellumix::tests
