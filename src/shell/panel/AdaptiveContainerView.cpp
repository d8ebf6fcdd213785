#include "shell/panel/AdaptiveContainerView.h"

#include "platform/view/values/Views.h"
#include "shell/settings/ThemeManager.h"

namespace vellumix {

using namespace view;

View AdaptiveContainerView::body() const {
    const auto& theme = ThemeManager::shared();
    const RoundedRectangle shape(cornerRadius);
    auto panel = content.frame({.maximumWidth = unbounded, .maximumHeight = unbounded})
                     .background(Rectangle(), theme.backgroundColor())
                     .clip(shape)
                     .overlay(ShapeView(shape, Color::clear(), Outline{theme.borderColor(), 1}));
    if (!chrome.isTranslucent) return panel;
    // The close shadow is the container's own. The wide one sets the whole window off from what is behind, as
    // desktops do for their own windows.
    return panel.shadow({.color = Color::grey(0, 0.12), .radius = 10, .offset = {0, 2}, .shape = shape})
        .shadow({.color = Color::grey(0, 0.22), .radius = 20, .offset = {0, 5}, .shape = shape});
}

}  // namespace vellumix
