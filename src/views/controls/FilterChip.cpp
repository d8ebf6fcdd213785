#include "views/controls/FilterChip.h"

#include "platform/view/values/Views.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

View FilterChip::body() const {
    const auto& theme = ThemeManager::shared();
    auto fill = isHovering ? theme.hoverFillColor() : theme.surfaceColor();
    if (isSelected) fill = theme.selectedFillColor();
    const auto outline =
        isSelected ? Outline{theme.accentColor(), 1.5} : Outline{theme.controlStrokeColor(), 1};
    const bool isLit = isSelected || isHovering;
    return Button(action, VStack(Spacing(2), Symbol(icon).font(Font::system(14, Font::Weight::medium)),
                                 Text(label).font(ThemeManager::captionFont()).lineLimit(1))
                              .foreground(isLit ? theme.primaryTextColor() : theme.secondaryTextColor())
                              .fillWidth()
                              .padding(Edge::vertical, 8))
        .background(RoundedRectangle(6), fill, outline)
        .onHover(isHovering, Cursor::pointingHand)
        .animation(looks::hover, isHovering, isSelected)
        .semantics(Role::radioButton, label, isSelected);
}

}  // namespace vellumix
