#pragma once

#include <functional>
#include <optional>
#include <string>

namespace vellumix::linux_desktop {

/// The user's folders (XDG Base Directory Specification 0.8). Absolute paths without a final slash.
struct Paths {
    using Environment = std::function<const char*(const char* name)>;

    /// Absent when neither the environment nor the system knows the user's home.
    std::optional<std::string> dataHome;
    std::optional<std::string> configHome;
    std::string temporaryFolder;

    /// Variables that are empty or hold no absolute path count as absent, as that specification has it.
    static Paths ofUser();
    static Paths ofUser(const Environment& environment);
};

}  // namespace vellumix::linux_desktop
