#include "views/controls/FlatControls.h"

#include "platform/view/values/Views.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

View FlatDivider::body() const {
    return Divider(ThemeManager::shared().borderColor()).padding(Edge::vertical, 4);
}

View FlatCheckbox::body() const {
    const auto& theme = ThemeManager::shared();
    const bool isSet = isOn.get();
    const auto box = ZStack(If(isSet, Symbol("checkmark")
                                          .font(Font::system(9, Font::Weight::bold))
                                          .foreground(theme.backgroundColor())))
                         .frame(16, 16)
                         .background(RoundedRectangle(4), isSet ? theme.accentColor() : Color::clear(),
                                     Outline{isSet ? theme.accentColor() : theme.borderColor(), 1.5});
    return Button([isOn = isOn] { isOn.set(!isOn.get()); },
                  HStack(Spacing(8), box,
                         Text(label)
                             .font(ThemeManager::bodyFont())
                             .foreground(isHovering ? theme.primaryTextColor() : theme.secondaryTextColor()))
                      .fillWidth(Alignment::leading()))
        .onHover(isHovering, Cursor::pointingHand)
        .animation(looks::hover, isHovering)
        .semantics({.role = Role::checkbox, .label = label, .state = {.isChecked = isSet}});
}

View FlatCapsuleButton::body() const {
    const auto& theme = ThemeManager::shared();
    const auto symbol = [&] { return Symbol(*icon).font(Font::system(10, Font::Weight::medium)); };
    // Without a symbol the row has one child, and so no gap.
    const auto content = icon ? HStack(Spacing(4), symbol(), Text(title)) : HStack(Spacing(4), Text(title));
    return Button(action, content.font(ThemeManager::smallFont())
                              .lineLimit(1)
                              .foreground(isHovering ? theme.primaryTextColor() : theme.secondaryTextColor())
                              .padding(Edge::horizontal, 8)
                              .padding(Edge::vertical, 4))
        .background(Capsule(), isHovering ? theme.hoverFillColor() : theme.surfaceColor(),
                    Outline{theme.controlStrokeColor(), 1})
        .onHover(isHovering, Cursor::pointingHand)
        .animation(looks::hover, isHovering)
        .focusRing(Capsule())
        .semantics(Role::button, title);
}

View SettingsSection::body() const {
    const auto& theme = ThemeManager::shared();
    return VStack(Spacing(12), Alignment::leading(),
                  {Text(title)
                       .font(ThemeManager::sectionFont())
                       .foreground(theme.primaryTextColor())
                       .semantics(Role::heading, title),
                   content()})
        .fillWidth(Alignment::leading())
        .padding(12)
        .background(RoundedRectangle(8), theme.surfaceColor(), Outline{theme.controlStrokeColor(), 1});
}

}  // namespace vellumix
