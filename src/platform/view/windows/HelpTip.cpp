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
    this->pointer = pointer;
    this->bounds = bounds;
    const bool isSame = help == this->help;
    if (isSame && (!help || window || isDismissed)) return;
    if (!isSame) {
        hide();
        this->help = help;
        isDismissed = false;
        if (!help) return;
    }
    const double now = RunLoop::main().uptime();
    if (lastShown && now - *lastShown <= relatedSeconds) return show();
    timer = RunLoop::main().oneShotTimer(restingSeconds, [this] { show(); });
}

void HelpTip::helpChanged(const std::optional<ViewTree::Help>& help) {
    if (this->help && !(help == this->help)) {
        hide();
        this->help.reset();
    }
}

void HelpTip::dismiss() {
    hide();
    lastShown.reset();
    isDismissed = true;
}

void HelpTip::show() {
    const auto size = fittingSize(tip(*this->help), renderer, widest);
    const auto frame = placedUnder({pointer, {}}, size, belowPointer, bounds);
    window = std::make_unique<AttachedWindow>(
        NSWindow::Options{.kind = NSWindow::Kind::toolTip, .frame = frame},
        [help = *this->help](const Chrome& chrome) { return helpContent(help, chrome); }, renderer);
    window->window().setCornerRadius(cornerRadius);
    window->host().orderFront();
    // The timer may be running this.
    const auto before =
        std::exchange(timer, RunLoop::main().oneShotTimer(shownSeconds, [this] { dismiss(); }));
}

void HelpTip::hide() {
    const auto timer = std::exchange(this->timer, nullptr);
    if (std::exchange(window, nullptr)) lastShown = RunLoop::main().uptime();
}

}  // namespace vellumix::view
