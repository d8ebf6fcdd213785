#pragma once

#include <functional>
#include <optional>
#include <string>

namespace vellumix::linux_desktop {

/// The user's folders (XDG Base Directory Specification 0.8), and the program's own in them. Absolute paths
/// without a final slash.
struct Paths {
    using Environment = std::function<const char*(const char* name)>;

    /// Absent when neither the environment nor the system knows the user's home.
    std::optional<std::string> dataHome;
    std::optional<std::string> configHome;
    std::string temporaryFolder;

    /// Where the history is, and the key file.
    std::string dataFolder() const { return dataHome.value_or(temporaryFolder) + "/Vellumix"; }
    std::string settingsFile() const {
        return configHome.value_or(temporaryFolder) + "/Vellumix/settings.plist";
    }

    /// Variables that are empty or hold no absolute path count as absent, as that specification has it.
    static Paths ofUser();
    static Paths ofUser(const Environment& environment);
};

}  // namespace vellumix::linux_desktop
