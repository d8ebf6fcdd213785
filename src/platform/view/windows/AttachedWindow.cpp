#include "platform/view/windows/AttachedWindow.h"

#include <cmath>

#include "platform/desktop/Platform.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

AttachedWindow::AttachedWindow(const NSWindow::Options& options, HostingView::RootMaker root,
                               Renderer& renderer)
    : window_(platform::current().windows->makeWindow(options)),
      host_(std::make_unique<HostingView>(*window_, std::move(root), renderer)) {}

AttachedWindow::~AttachedWindow() = default;

Size fittingSize(const View& view, Renderer& renderer, double maximumWidth) {
    ViewTree tree(view, renderer.texts(), {});
    const auto size = tree.fittingSize(maximumWidth);
    return {std::ceil(size.width), std::ceil(size.height)};
}

Rect keptInside(const Rect& rect, const Rect& bounds) {
    // The top left corner counts where there isn't room for all of it.
    const auto kept = [](double origin, double length, double low, double high) {
        return std::max(low, std::min(origin, high - length));
    };
    return {{kept(rect.minX(), rect.size.width, bounds.minX(), bounds.maxX()),
             kept(rect.minY(), rect.size.height, bounds.minY(), bounds.maxY())},
            rect.size};
}

Rect placedUnder(const Rect& anchor, const Size& size, double gap, const Rect& bounds) {
    const double under = anchor.maxY() + gap;
    const double above = anchor.minY() - gap - size.height;
    const bool isAbove = under + size.height > bounds.maxY() && above >= bounds.minY();
    return keptInside({{anchor.minX(), isAbove ? above : under}, size}, bounds);
}

View floating(const View& content, double cornerRadius, const ControlPalette& palette, const Chrome& chrome) {
    const RoundedRectangle shape(cornerRadius);
    if (!chrome.isTranslucent) {
        return content.background(shape, Color::clear(), Outline{palette.border})
            .background(Rectangle(), palette.background);
    }
    auto ground = content.background(shape, palette.background, Outline{palette.border});
    // The room that a shadow needs is its radius and a half, and its offset.
    constexpr double radius = 12;
    constexpr double offset = 4;
    if (chrome.shadowRoom.bottom < radius + offset) return ground;
    return ground.shadow(
        {.color = Color::grey(0, 0.25), .radius = radius, .offset = {0, offset}, .shape = shape});
}

Color readableOn(const Color& ground) {
    // Relative luminance as in WCAG 2.2, section 1.4.3, with the transfer function taken as a square. White
    // is preferred a little, as on most buttons.
    const double luminance = 0.2126 * ground.red * ground.red + 0.7152 * ground.green * ground.green +
                             0.0722 * ground.blue * ground.blue;
    constexpr double middle = 0.4;
    return luminance > middle ? Color::grey(0.08) : Color::grey(1);
}

}  // namespace vellumix::view
