#include "platform/linux/process/StartDetached.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include "platform/linux/files/PosixHandles.h"

namespace vellumix::linux_desktop {

bool startDetached(const std::vector<std::string>& arguments) {
    return startDetachedProgram("/proc/self/exe", arguments);
}

bool startDetachedProgram(const std::string& program, const std::vector<std::string>& arguments) {
    std::vector<std::string> words{"vellumix"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (auto& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);

    const posix::SpawnAttributes attributes;
    const posix::SpawnActions actions;
    posix_spawnattr_setflags(attributes.get(), POSIX_SPAWN_SETSID);
    posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO}) {
        if (isatty(output)) continue;
        posix_spawn_file_actions_addopen(actions.get(), output, "/dev/null", O_WRONLY, 0);
    }
    pid_t child = 0;
    return posix_spawn(&child, program.c_str(), actions.get(), attributes.get(), pointers.data(), environ) ==
           0;
}

}  // namespace vellumix::linux_desktop
