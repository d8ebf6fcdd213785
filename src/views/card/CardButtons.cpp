#include "views/card/CardButtons.h"

#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/text/LocalizedText.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

namespace {

constexpr double side = 26;
constexpr double tickDuration = 1;

View face(const std::string& icon, const Color& color) {
    return Symbol(icon).font(Font::system(11, Font::Weight::medium)).foreground(color).frame(side, side);
}

/// What all of them have around their face.
View withLook(const View& button, const Color& fill, const State<bool>& isHovering,
              const std::string& tooltip, Role role = Role::button) {
    return button.background(RoundedRectangle(4), fill)
        .onHover(isHovering, Cursor::pointingHand)
        .animation(looks::hover, isHovering)
        .help(tooltip)
        .semantics(role, tooltip);
}

Color textColor(bool isLit) {
    const auto& theme = ThemeManager::shared();
    return isLit ? theme.primaryTextColor() : theme.secondaryTextColor();
}

Color fillColor(bool isLit) { return isLit ? ThemeManager::shared().cardFillColor() : Color::clear(); }

std::string titleOf(SharingServices::Service service) {
    switch (service) {
        case SharingServices::Service::open:
            return localized("share.open");
        case SharingServices::Service::sendByMail:
            return localized("share.sendByMail");
        case SharingServices::Service::saveCopy:
            return localized("share.saveCopy");
        case SharingServices::Service::copyPath:
            return localized("share.copyPath");
    }
    return {};
}

}  // namespace

View ActionButton::body() const {
    const auto lit = isDestructive ? ThemeManager::dangerColor() : textColor(true);
    return withLook(Button(action, face(icon, isHovering ? lit : textColor(false))), fillColor(isHovering),
                    isHovering, tooltip);
}

View CopyActionButton::body() const {
    const auto press = [action = action, tick = showSuccess.binding()] {
        action();
        tick.set(true);
        onMainAfter(tickDuration, [tick] { tick.set(false); });
    };
    const auto shown = [&](const View& symbol, bool isShown) {
        return symbol.opacity(isShown ? 1 : 0).scale(isShown ? 1 : 0.5);
    };
    const auto symbols =
        ZStack(
            shown(face("doc.on.doc", textColor(isHovering)), !showSuccess),
            shown(Symbol("checkmark").font(Font::system(12, Font::Weight::bold)).foreground(looks::success),
                  showSuccess))
            .animation(Curve::spring(0.3, 0.6), showSuccess);
    const auto fill = showSuccess ? looks::success.withOpacity(0.15) : fillColor(isHovering);
    return withLook(Button(press, symbols), fill, isHovering, tooltip);
}

View ShareActionButton::body() const {
    const bool isLit = isHovering && !disabled;
    const auto button =
        face("square.and.arrow.up", textColor(isLit)).overlay(SharingServiceButton{shareItems});
    return withLook(button, fillColor(isLit), isHovering, tooltip, Role::menuButton)
        .opacity(disabled ? 0.35 : 1);
}

View TransformMenuButton::body() const {
    const auto items = [action = action] {
        std::vector<MenuItem> all;
        all.reserve(allTextTransforms.size());
        for (const auto transform : allTextTransforms) {
            all.push_back({.title = title(transform),
                           .symbol = std::string(icon(transform)),
                           .action = [action, transform] { action(transform); }});
        }
        return all;
    };
    return withLook(Menu(face("wand.and.stars", textColor(isHovering)), items), fillColor(isHovering),
                    isHovering, localized("transform.menu"), Role::menuButton);
}

std::vector<MenuItem> SharingServiceButton::Coordinator::showPicker() const {
    auto items = shareItems();
    if (items.empty()) return {};
    const auto offered = platform::current().sharing->servicesFor(items);
    std::vector<MenuItem> services;
    services.reserve(offered.size());
    for (const auto service : offered) {
        services.push_back({.title = titleOf(service), .action = [service, items] {
                                platform::current().sharing->perform(service, items);
                            }});
    }
    return services;
}

View SharingServiceButton::body() const {
    return Menu(View().frame(side, side),
                [coordinator = Coordinator(shareItems)] { return coordinator.showPicker(); });
}

}  // namespace vellumix
