#include "platform/linux/process/HardenProcess.h"

#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>

namespace vellumix::linux_desktop {

bool hardenProcess() {
    const rlimit none{0, 0};
    const bool isClosed = ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && ::setrlimit(RLIMIT_CORE, &none) == 0;
    // Into that file libcurl writes what deciphers its connections.
    ::unsetenv("SSLKEYLOGFILE");
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    // Left alone, the allocator takes the largest buffer freed so far, up to 32 MB, as the size below which
    // it keeps memory for itself: one large image would stay resident for good. A fixed limit maps each large
    // buffer by itself, so that freeing it returns it.
    ::mallopt(M_MMAP_THRESHOLD, 256 * 1024);
    ::mallopt(M_TRIM_THRESHOLD, 512 * 1024);
    // The few threads hardly ever allocate at the same moment; an arena for each would only spread the free
    // memory.
    ::mallopt(M_ARENA_MAX, 2);
    return isClosed;
}

}  // namespace vellumix::linux_desktop
