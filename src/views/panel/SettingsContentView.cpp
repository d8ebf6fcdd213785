#include "views/panel/SettingsContentView.h"

#include "platform/foundation/text/LocalizedText.h"
#include "platform/view/values/Views.h"
#include "shell/settings/LanguageManager.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/FlatControls.h"
#include "views/controls/Pickers.h"

namespace vellumix {

using namespace view;

namespace {

View section(const char* titleKey, const View& content) {
    return View(SettingsSection{.title = localized(titleKey), .content = [content] { return content; }})
        .fillWidth(Alignment::leading());
}

}  // namespace

View SettingsContentView::body() const {
    auto& theme = ThemeManager::shared();
    auto& language = LanguageManager::shared();
    const Binding<ThemeMode> selectedTheme([&theme] { return theme.currentTheme.get(); },
                                           [&theme](ThemeMode mode) { theme.currentTheme.set(mode); });
    const Binding<AppLanguage> selectedLanguage(
        [&language] { return language.currentLanguage.get(); },
        [&language](AppLanguage chosen) { language.currentLanguage.set(chosen); });
    return ScrollArea(
               VStack(Spacing(12), Alignment::leading(),
                      {section("appearance.title", ThemePicker{.selectedTheme = selectedTheme}),
                       section("settings.language", LanguagePicker{.selectedLanguage = selectedLanguage})})
                   .padding(16))
        .background(Rectangle(), theme.backgroundColor());
}

}  // namespace vellumix
