#pragma once

#include <unistd.h>

#include <cstddef>
#include <fstream>

namespace vellumix::tests {

/// The memory of this process, in bytes.
struct ProcessMemory {
    std::size_t mapped = 0;
    std::size_t resident = 0;

    static ProcessMemory now() {
        std::ifstream statistics("/proc/self/statm");
        ProcessMemory memory;
        statistics >> memory.mapped >> memory.resident;
        const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        return {memory.mapped * page, memory.resident * page};
    }
};

}  // namespace vellumix::tests
