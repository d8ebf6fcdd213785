#include "x11/Program.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <utility>

#include "x11/Peer.h"

namespace vellumix::tests {

Program::Program(linux_desktop::GLibRunLoop& runLoop, const std::vector<std::string>& command,
                 const std::string& input)
    : runLoop(runLoop) {
    const int inputFile = memfd_create("input", 0);
    for (std::size_t at = 0; at < input.size();) {
        const auto written = ::write(inputFile, input.data() + at, input.size() - at);
        if (written <= 0) break;
        at += static_cast<std::size_t>(written);
    }
    lseek(inputFile, 0, SEEK_SET);
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    std::vector<char*> arguments;
    for (const auto& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    process = fork();
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(inputFile, STDIN_FILENO);
        dup2(ends[1], STDOUT_FILENO);
        execvp(arguments.front(), arguments.data());
        _exit(127);
    }
    ::close(inputFile);
    ::close(ends[1]);
    outputEnd = ends[0];
    watch = runLoop.watch(
        outputEnd, [] { return false; },
        [this] {
            std::array<char, 65536> part{};
            const auto size = ::read(outputEnd, part.data(), part.size());
            if (size > 0) {
                output_.append(part.data(), static_cast<std::size_t>(size));
            } else {
                hasEnded = true;
                watch.cancel();
            }
        });
}

Program::~Program() {
    kill();
    if (outputEnd >= 0) ::close(outputEnd);
}

bool Program::waitForEnd() {
    if (!waitUntil(
            runLoop, [this] { return hasEnded; }, 10))
        return false;
    int status = 0;
    return waitpid(std::exchange(process, -1), &status, 0) > 0;
}

void Program::kill() {
    const auto process = std::exchange(this->process, -1);
    if (process <= 0) return;
    ::kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

}  // namespace vellumix::tests
