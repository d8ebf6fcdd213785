#include "shell/settings/ThemeManager.h"

#include <string>

#include "platform/foundation/files/UserDefaults.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

namespace {

constexpr auto themeKey = "appThemeMode";

ThemeMode storedTheme() {
    const auto stored = UserDefaults::standard().value<std::string>(themeKey);
    return stored == rawValue(ThemeMode::dark) ? ThemeMode::dark : ThemeMode::light;
}

}  // namespace

std::string_view rawValue(ThemeMode theme) { return theme == ThemeMode::dark ? "dark" : "light"; }

ThemeManager& ThemeManager::shared() { return SharedInstances::current().get<ThemeManager>(); }

ThemeManager::ThemeManager()
    : currentTheme(storedTheme()), _ownChange(currentTheme.observe([this] { applyTheme(); })) {}

void ThemeManager::applyTheme() {
    UserDefaults::standard().set(themeKey, PropertyValue(std::string(rawValue(currentTheme.get()))));
    onMain(_lifetime.weakly(
        [] { NotificationCenter::defaultCenter().post(ThemeManager::didChangeNotification); }));
}

}  // namespace vellumix
