#include "views/panel/HeaderView.h"

#include <numbers>

#include "platform/foundation/text/LocalizedText.h"
#include "platform/view/values/Views.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

View HeaderView::body() const {
    const auto& theme = ThemeManager::shared();
    const bool isClipboard = currentView == ViewState::clipboard;
    const auto title = localized(isClipboard ? "header.clipboard" : "settings");
    const auto help = localized(isClipboard ? "accessibility.settings" : "action.close");
    const auto target = isClipboard ? ViewState::settings : ViewState::clipboard;
    // The colour changes with the background; the turn takes longer.
    const auto symbol = Symbol(isClipboard ? "gearshape" : "xmark")
                            .font(Font::system(14, Font::Weight::medium))
                            .foreground(gearHovering ? theme.primaryTextColor() : theme.secondaryTextColor())
                            .frame(28, 28)
                            .animation(looks::hover, gearHovering)
                            .rotation(isClipboard && gearHovering ? std::numbers::pi / 2 : 0)
                            .animation(Curve::easeInOut(0.4), gearHovering);
    return HStack(Spacing(0),
                  Text(title)
                      .font(ThemeManager::headingFont())
                      .foreground(theme.primaryTextColor())
                      .lineLimit(1)
                      .semantics(Role::heading, title)
                      .layoutPriority(1),
                  Spacer(),
                  Button([onNavigate = onNavigate, target] { onNavigate(target); }, symbol)
                      .background(RoundedRectangle(6), gearHovering ? theme.hoverFillColor() : Color::clear())
                      .onHover(gearHovering, Cursor::pointingHand)
                      .animation(looks::hover, gearHovering)
                      .help(help)
                      .semantics(Role::button, help))
        .padding(Edge::horizontal, 16)
        .padding(Edge::vertical, 15);
}

}  // namespace vellumix
