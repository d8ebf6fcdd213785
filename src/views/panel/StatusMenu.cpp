#include "views/panel/StatusMenu.h"

#include "platform/desktop/Platform.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

namespace {

std::optional<NSScreen> screenAt(Point place) {
    const auto& windows = *platform::current().windows;
    for (const auto& screen : windows.screens()) {
        if (screen.frame.contains(place)) return screen;
    }
    return windows.mainScreen();
}

}  // namespace

StatusMenu::StatusMenu(const std::vector<StatusMenuEntry>& entries, const Rect& icon) {
    const auto screen = screenAt(icon.centre());
    if (!screen) return;
    MenuRequest request{.palette = controlPalette()};
    for (const auto& entry : entries) {
        request.items.push_back({
            .title = entry.title,
            .isEnabled = entry.isEnabled,
            .isSeparator = entry.kind == StatusMenuEntry::Kind::separator,
            .action = entry.action,
        });
    }
    menu = std::make_unique<PopUpMenu>(request, icon, screen->visibleFrame, Renderer::shared(),
                                       [this](const Action& chosen) {
                                           menu.reset();
                                           if (chosen) chosen();
                                       });
}

}  // namespace vellumix
