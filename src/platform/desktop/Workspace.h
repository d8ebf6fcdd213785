#pragma once

#include <optional>
#include <string>

namespace vellumix {

/// A running application with windows, as it was when it was asked for.
struct NSRunningApplication {
    /// 0 when the desktop doesn't tell.
    int processIdentifier = 0;
    /// The desktop-file id, else the window class; absent when there is neither.
    std::optional<std::string> bundleIdentifier;
};

/// The applications of the desktop. Main thread only; answers from what has been observed and waits for
/// nobody.
class NSWorkspace {
public:
    virtual ~NSWorkspace() = default;
    /// The application whose window has the keyboard; absent when there is none or the desktop doesn't tell.
    virtual std::optional<NSRunningApplication> frontmostApplication() const = 0;
};

}  // namespace vellumix
