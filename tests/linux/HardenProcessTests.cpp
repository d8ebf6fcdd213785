#include "platform/linux/process/HardenProcess.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace vellumix::linux_desktop {
namespace {

TEST(HardenProcess, LeavesNothingToADumpOrATracer) {
    // In a child, as it holds for the rest of the process.
    const auto child = ::fork();
    if (child == 0) {
        ::setenv("SSLKEYLOGFILE", "/tmp/keys", 1);
        rlimit core{};
        const bool isDone =
            hardenProcess() && ::getrlimit(RLIMIT_CORE, &core) == 0 && !::getenv("SSLKEYLOGFILE");
        ::_exit(isDone && core.rlim_cur == 0 && core.rlim_max == 0 && ::prctl(PR_GET_DUMPABLE) == 0 ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace vellumix::linux_desktop
