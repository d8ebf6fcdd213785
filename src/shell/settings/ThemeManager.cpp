#include "shell/settings/ThemeManager.h"

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

namespace {

const Setting<ThemeMode, AsName<allThemeModes>> themeSetting("appThemeMode", ThemeMode::light);

}  // namespace

std::string_view rawValue(ThemeMode theme) { return theme == ThemeMode::dark ? "dark" : "light"; }

ThemeManager& ThemeManager::shared() { return SharedInstances::current().get<ThemeManager>(); }

ThemeManager::ThemeManager()
    : currentTheme(themeSetting), ownChange(currentTheme.observe([this] { applyTheme(); })) {}

void ThemeManager::applyTheme() {
    onMain(lifetime.weakly(
        [] { NotificationCenter::defaultCenter().post(ThemeManager::didChangeNotification); }));
}

}  // namespace vellumix
