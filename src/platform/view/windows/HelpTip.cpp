#include "platform/view/windows/HelpTip.h"

#include <utility>

#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

constexpr double restingSeconds = 0.6;
constexpr double relatedSeconds = 0.5;
constexpr double shownSeconds = 10;
constexpr double widest = 320;
constexpr double belowPointer = 16;
constexpr double cornerRadius = 4;

View tip(const ViewTree::Help& help) {
    return Text(help.text)
        .font(Font::system(11))
        .foreground(help.palette.text)
        .padding(Edge::horizontal, 6)
        .padding(Edge::vertical, 4);
}

}  // namespace

View helpContent(const ViewTree::Help& help, const Chrome& chrome) {
    return floating(tip(help), cornerRadius, help.palette, chrome);
}

void HelpTip::pointerMoved(Point pointer, const std::optional<ViewTree::Help>& help, const Rect& bounds) {
    _pointer = pointer;
    _bounds = bounds;
    const bool isSame = help == _help;
    if (isSame && (!help || _window || _isDismissed)) return;
    if (!isSame) {
        hide();
        _help = help;
        _isDismissed = false;
        if (!help) return;
    }
    const double now = RunLoop::main().uptime();
    if (_lastShown && now - *_lastShown <= relatedSeconds) return show();
    _timer = RunLoop::main().oneShotTimer(restingSeconds, [this] { show(); });
}

void HelpTip::helpChanged(const std::optional<ViewTree::Help>& help) {
    if (_help && !(help == _help)) {
        hide();
        _help.reset();
    }
}

void HelpTip::dismiss() {
    hide();
    _lastShown.reset();
    _isDismissed = true;
}

void HelpTip::show() {
    const auto size = fittingSize(tip(*_help), _renderer, widest);
    const auto frame = placedUnder({_pointer, {}}, size, belowPointer, _bounds);
    _window = std::make_unique<AttachedWindow>(
        NSWindow::Options{.kind = NSWindow::Kind::toolTip, .frame = frame},
        [help = *_help](const Chrome& chrome) { return helpContent(help, chrome); }, _renderer);
    _window->window().setCornerRadius(cornerRadius);
    _window->host().orderFront();
    // The timer may be running this.
    const auto before =
        std::exchange(_timer, RunLoop::main().oneShotTimer(shownSeconds, [this] { dismiss(); }));
}

void HelpTip::hide() {
    const auto timer = std::exchange(_timer, nullptr);
    if (std::exchange(_window, nullptr)) _lastShown = RunLoop::main().uptime();
}

}  // namespace vellumix::view
