#pragma once

#include "platform/view/values/View.h"
#include "shell/settings/LanguageManager.h"
#include "shell/settings/ThemeManager.h"

/// How the theme and the language are chosen.
namespace vellumix {

/// One theme, shown in its own colours whatever theme is in force.
struct ThemeOption {
    ThemeMode theme = ThemeMode::light;
    bool isSelected = false;
    Action onSelect;
    view::State<bool> isHovering = false;

    view::View body() const;
};

/// All themes beside each other.
struct ThemePicker {
    view::Binding<ThemeMode> selectedTheme;

    view::View body() const;
};

/// A pop-up menu of all languages.
struct LanguagePicker {
    view::Binding<AppLanguage> selectedLanguage;
    view::State<bool> isHovering = false;

    view::View body() const;
};

}  // namespace vellumix
