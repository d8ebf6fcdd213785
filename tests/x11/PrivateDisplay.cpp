#include "x11/PrivateDisplay.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <utility>

namespace vellumix::tests {

PrivateDisplay::PrivateDisplay(const std::string& missingExtension) {
    int ends[2];
    if (pipe(ends) != 0) return;
    const auto number = std::to_string(ends[1]);
    server = fork();
    if (server == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::close(ends[0]);
        const int nowhere = ::open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "640x480x24", "-nolisten", "tcp",
               "-noreset", missingExtension.empty() ? nullptr : "-extension", missingExtension.c_str(),
               static_cast<char*>(nullptr));
        _exit(127);
    }
    ::close(ends[1]);
    std::string display;
    for (char c = 0; ::read(ends[0], &c, 1) == 1 && c != '\n';) display += c;
    ::close(ends[0]);
    if (display.empty()) return;
    name_ = ":" + display;
    setenv("DISPLAY", name_.c_str(), 1);
}

void PrivateDisplay::end() {
    if (const auto server = std::exchange(this->server, -1); server > 0) {
        kill(server, SIGKILL);
        waitpid(server, nullptr, 0);
        // A killed server leaves its lock and its socket.
        const auto number = name_.substr(name_.empty() ? 0 : 1);
        if (!number.empty()) {
            unlink(("/tmp/.X" + number + "-lock").c_str());
            unlink(("/tmp/.X11-unix/X" + number).c_str());
        }
    }
}

}  // namespace vellumix::tests
