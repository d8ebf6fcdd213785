#include "platform/linux/files/Paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace vellumix::linux_desktop {

namespace {

std::optional<std::string> absolutePath(const char* value) {
    if (!value || value[0] != '/') return std::nullopt;
    std::string path(value);
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::optional<std::string> homeOfAccount() {
    std::vector<char> buffer(16 * 1024);
    struct passwd entry {};
    struct passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return std::nullopt;
    return absolutePath(found->pw_dir);
}

std::string within(const std::string& folder, const char* name) {
    return (folder == "/" ? std::string() : folder) + '/' + name;
}

}  // namespace

Paths Paths::ofUser() { return ofUser(::getenv); }

Paths Paths::ofUser(const Environment& environment) {
    auto home = absolutePath(environment("HOME"));
    if (!home) home = homeOfAccount();
    const auto baseFolder = [&](const char* variable, const char* underHome) -> std::optional<std::string> {
        if (auto path = absolutePath(environment(variable))) return path;
        if (!home) return std::nullopt;
        return within(*home, underHome);
    };
    return {
        .dataHome = baseFolder("XDG_DATA_HOME", ".local/share"),
        .configHome = baseFolder("XDG_CONFIG_HOME", ".config"),
        .temporaryFolder = absolutePath(environment("TMPDIR")).value_or("/tmp"),
    };
}

}  // namespace vellumix::linux_desktop
