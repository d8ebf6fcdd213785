#include "linux/TestProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace vellumix::linux_desktop {

TemporaryFolder::TemporaryFolder() {
    char path[] = "/tmp/vellumix-test-XXXXXX";
    if (const char* made = ::mkdtemp(path)) path_ = made;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

ScopedVariable::ScopedVariable(const char* name, const char* value) : name(name) {
    if (const char* before = std::getenv(name)) {
        wasSet = true;
        this->before = before;
    }
    if (value)
        ::setenv(name, value, 1);
    else
        ::unsetenv(name);
}

ScopedVariable::~ScopedVariable() {
    if (wasSet)
        ::setenv(name.c_str(), before.c_str(), 1);
    else
        ::unsetenv(name.c_str());
}

TestProcess::TestProcess(const std::vector<std::string>& arguments, const std::string& input) {
    int in[2];
    int out[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) return;
    const posix::Descriptor childIn(in[0]);
    posix::Descriptor ourIn(in[1]);
    output = posix::Descriptor(out[0]);
    const posix::Descriptor childOut(out[1]);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, childIn.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, childOut.get(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    // A test that is killed takes its programs with it.
    auto command = std::vector<std::string>{"setpriv", "--pdeathsig", "KILL"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (const auto& argument : command) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const int error = ::posix_spawnp(&process, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        process = -1;
        ADD_FAILURE() << arguments.front() << " can't be started";
        return;
    }
    EXPECT_EQ(::write(ourIn.get(), input.data(), input.size()), static_cast<ssize_t>(input.size()));
}

std::string TestProcess::readLine() {
    std::string line;
    for (char character = 0; ::read(output.get(), &character, 1) == 1 && character != '\n';)
        line += character;
    return line;
}

void TestProcess::signal(int number) const {
    if (process > 0) ::kill(process, number);
}

void TestProcess::end() {
    if (process <= 0) return;
    signal(SIGKILL);
    wait();
}

int TestProcess::wait() {
    int status = 0;
    ::waitpid(process, &status, 0);
    process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::size_t RecordedLog::count(std::string_view part) const {
    std::size_t found = 0;
    for (const auto& line : lines)
        if (line.find(part) != std::string::npos) ++found;
    return found;
}

}  // namespace vellumix::linux_desktop
