#include "views/controls/Looks.h"

#include "shell/settings/ThemeManager.h"

namespace vellumix {

using namespace view;

namespace {

struct Themed {
    View content;

    View body() const {
        const auto& theme = ThemeManager::shared();
        return content.font(ThemeManager::bodyFont())
            .foreground(theme.primaryTextColor())
            .accent(theme.accentColor())
            .environment(controlPalette());
    }
};

}  // namespace

ControlPalette controlPalette() {
    const auto& theme = ThemeManager::shared();
    return {
        .background = theme.surfaceColor(),
        .border = theme.borderColor(),
        .text = theme.primaryTextColor(),
        .secondaryText = theme.secondaryTextColor(),
        .hover = theme.hoverFillColor(),
        .accent = theme.accentColor(),
        .danger = ThemeManager::dangerColor(),
    };
}

View themed(const View& content) { return Themed{content}; }

}  // namespace vellumix
