#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::tests {

/// A real program, started with some input; what it prints is collected while the loop runs. Ends with this
/// object.
class Program {
public:
    Program(linux_desktop::GLibRunLoop& runLoop, const std::vector<std::string>& command,
            const std::string& input = {});
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Serves the loop until the program has ended by itself; false when it doesn't in time.
    bool waitForEnd();
    /// Ends the program at once.
    void kill();
    const std::string& output() const { return output_; }

private:
    linux_desktop::GLibRunLoop& runLoop;
    pid_t process = -1;
    int outputEnd = -1;
    std::string output_;
    bool hasEnded = false;
    Observation watch;
};

}  // namespace vellumix::tests
