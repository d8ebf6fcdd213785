#pragma once

#include <sys/types.h>

#include <string>

namespace vellumix::tests {

/// An X server of this process alone, on a display number that the server chooses; DISPLAY names it. Ends
/// with this object, and with the process.
class PrivateDisplay {
public:
    /// Without an extension of that name; with all that the server has for an empty one.
    explicit PrivateDisplay(const std::string& missingExtension = {});
    ~PrivateDisplay() { end(); }
    PrivateDisplay(const PrivateDisplay&) = delete;
    PrivateDisplay& operator=(const PrivateDisplay&) = delete;

    /// Empty when the server didn't start.
    const std::string& name() const { return name_; }
    /// Ends the server at once, as a crash would.
    void end();

private:
    pid_t server = -1;
    std::string name_;
};

}  // namespace vellumix::tests
