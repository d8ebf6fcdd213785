#include "platform/linux/process/Locale.h"

#include <algorithm>
#include <cstdlib>

namespace vellumix::linux_desktop {

std::vector<std::string> preferredLanguages() { return preferredLanguages(::getenv); }

std::vector<std::string> preferredLanguages(const Paths::Environment& environment) {
    const auto valueOf = [&](const char* name) {
        const char* value = environment(name);
        return std::string(value ? value : "");
    };
    auto locale = valueOf("LC_ALL");
    if (locale.empty()) locale = valueOf("LC_MESSAGES");
    if (locale.empty()) locale = valueOf("LANG");
    if (locale.empty() || locale == "C" || locale == "POSIX") return {};
    std::vector<std::string> languages;
    auto rest = valueOf("LANGUAGE");
    while (!rest.empty()) {
        const auto end = std::min(rest.find(':'), rest.size());
        if (end > 0) languages.push_back(rest.substr(0, end));
        rest.erase(0, end + 1);
    }
    languages.push_back(locale);
    return languages;
}

}  // namespace vellumix::linux_desktop
