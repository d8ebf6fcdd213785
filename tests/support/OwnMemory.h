#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace vellumix {

/// Whether the letters stand one after the other anywhere in what this process can write to: in use or freed,
/// heap or stack. They are given one by one, so that the test itself has no such place.
inline bool ownMemoryHolds(const std::vector<std::string>& letters) {
    constexpr unsigned long largestMapping = 1UL << 30;  // the shadow of a sanitizer is larger, and no memory
    const int memory = ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    std::ifstream mappings("/proc/self/maps");
    std::vector<char> bytes;
    bool isFound = false;
    for (std::string line; !isFound && std::getline(mappings, line);) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char rights[5] = {};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, rights) != 3) continue;
        if (std::strncmp(rights, "rw", 2) != 0 || end - begin > largestMapping) continue;
        bytes.resize(end - begin);
        const auto count = ::pread(memory, bytes.data(), bytes.size(), static_cast<off_t>(begin));
        for (long at = 0; !isFound && at + static_cast<long>(letters.size()) <= count; ++at) {
            std::size_t same = 0;
            while (same < letters.size() && bytes[static_cast<std::size_t>(at) + same] == letters[same][0]) {
                ++same;
            }
            isFound = same == letters.size();
        }
        std::memset(bytes.data(), 0, bytes.size());
    }
    ::close(memory);
    return isFound;
}

}  // namespace vellumix
