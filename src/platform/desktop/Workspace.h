#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vellumix {

/// What file managers are known by, whichever one it is.
inline constexpr auto fileManagerIdentifier = "com.apple.finder";

/// A running application with windows, as it was when it was asked for.
struct NSRunningApplication {
    /// 0 when the desktop doesn't tell.
    int processIdentifier = 0;
    /// The desktop-file id, else the window class; absent when there is neither.
    std::optional<std::string> bundleIdentifier;
    /// Which of its windows was in front, as the backend counts them; 0 when the desktop doesn't tell.
    std::uint32_t window = 0;
    /// What stands for every application of its kind: `fileManagerIdentifier`, absent for all others. Beside
    /// the identifier and not in its place: exclusions and the history tell file managers apart.
    std::optional<std::string> kindIdentifier;

    friend bool operator==(const NSRunningApplication&, const NSRunningApplication&) = default;
};

/// The applications of the desktop. Main thread only; waits for no other program, but for the
/// display's server itself where nobody has announced the answer.
class NSWorkspace {
public:
    virtual ~NSWorkspace() = default;
    /// The application whose window has the keyboard; absent when there is none or the desktop doesn't tell.
    virtual std::optional<NSRunningApplication> frontmostApplication() const = 0;
    /// Asks the desktop to bring the application's window to the front, with the keyboard. False when the
    /// application can't be found any more.
    virtual bool activate(const NSRunningApplication& application) = 0;
};

}  // namespace vellumix
