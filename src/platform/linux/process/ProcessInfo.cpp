#include "platform/linux/process/ProcessInfo.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "platform/linux/loop/GLibHandles.h"
#include "platform/linux/process/Locale.h"

namespace vellumix::linux_desktop {

std::optional<std::string> ProcessInfo::environment(const std::string& name) const {
    const char* const value = std::getenv(name.c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

std::string ProcessInfo::operatingSystemVersionString() const {
    const glib::Text name(g_get_os_info(G_OS_INFO_KEY_PRETTY_NAME));
    return name ? name.get() : "Linux";
}

NSLocale ProcessInfo::currentLocale() const {
    const auto languages = preferredLanguages();
    if (languages.empty()) return {};
    // language[_territory][.codeset][@modifier] (POSIX.1-2017 Base Definitions section 8.2).
    const auto name = languages.back().substr(0, languages.back().find_first_of(".@"));
    const auto split = std::min(name.find('_'), name.size());
    const auto isCode = [](const std::string& text) {
        return !text.empty() && std::ranges::all_of(text, [](unsigned char c) { return std::isalnum(c); });
    };
    const auto language = name.substr(0, split);
    const auto region = name.substr(std::min(split + 1, name.size()));
    return {isCode(language) ? std::optional(language) : std::nullopt,
            isCode(region) ? std::optional(region) : std::nullopt};
}

}  // namespace vellumix::linux_desktop
