#include "views/controls/Pickers.h"

#include <vector>

#include "platform/foundation/text/LocalizedText.h"
#include "platform/view/values/Views.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

namespace {

View swatch(ThemeMode theme) {
    const bool isLight = theme == ThemeMode::light;
    return Symbol(isLight ? "sun.max.fill" : "moon.fill")
        .font(Font::system(12))
        .foreground(Color::grey(isLight ? 0.3 : 0.8))
        .frame(24, 24)
        .background(Circle(), Color::grey(isLight ? 0.95 : 0.15));
}

}  // namespace

View ThemeOption::body() const {
    const auto& manager = ThemeManager::shared();
    const char* name = theme == ThemeMode::light ? "Light" : "Dark";
    auto fill = isHovering ? manager.hoverFillColor() : Color::clear();
    if (isSelected) fill = manager.selectedFillColor();
    const auto label =
        HStack(Spacing(8), swatch(theme),
               Text(name)
                   .font(ThemeManager::bodyFont())
                   .foreground(isSelected ? manager.primaryTextColor() : manager.secondaryTextColor()),
               If(isSelected, Symbol("checkmark")
                                  .font(Font::system(12, Font::Weight::semibold))
                                  .foreground(manager.accentColor())));
    return Button(onSelect, label.lineLimit(1).padding(Edge::horizontal, 12).padding(Edge::vertical, 8))
        .background(RoundedRectangle(6), fill,
                    Outline{isSelected ? manager.accentColor() : Color::clear(), 1.5})
        .onHover(isHovering, Cursor::pointingHand)
        .animation(looks::hover, isHovering)
        .semantics(Role::radioButton, name, isSelected);
}

View ThemePicker::body() const {
    std::vector<View> options;
    for (const auto theme : allThemeModes) {
        options.push_back(ThemeOption{.theme = theme,
                                      .isSelected = selectedTheme.get() == theme,
                                      .onSelect = [binding = selectedTheme, theme] { binding.set(theme); }});
    }
    return HStack(Spacing(8), Alignment::centre(), std::move(options));
}

View LanguagePicker::body() const {
    const auto& theme = ThemeManager::shared();
    const auto items = [binding = selectedLanguage] {
        std::vector<MenuItem> all;
        for (const auto language : allAppLanguages) {
            all.push_back({.title = displayName(language),
                           .isChecked = binding.get() == language,
                           .action = [binding, language] { binding.set(language); }});
        }
        return all;
    };
    const auto name = displayName(selectedLanguage.get());
    const auto label =
        HStack(
            Spacing(8),
            Text(name).font(ThemeManager::bodyFont()).foreground(theme.primaryTextColor()).lineLimit(1),
            Symbol("chevron.up.chevron.down").font(Font::system(10)).foreground(theme.secondaryTextColor()))
            .padding(Edge::horizontal, 12)
            .frame({.height = 28})
            .background(RoundedRectangle(6), isHovering ? theme.hoverFillColor() : theme.surfaceColor(),
                        Outline{theme.borderColor(), 1});
    return Menu(label, items)
        .onHover(isHovering, Cursor::pointingHand)
        .animation(looks::hover, isHovering)
        .semantics({.role = Role::menuButton, .label = localized("settings.language"), .value = name});
}

}  // namespace vellumix
