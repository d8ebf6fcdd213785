#pragma once

#include <sys/mman.h>

#include <cstdint>
#include <span>
#include <utility>

namespace vellumix::x11 {

/// A piece of memory that was mapped, and is given back at the end.
class MappedMemory {
public:
    MappedMemory() = default;
    MappedMemory(void* start, std::size_t bytes)
        : memory(static_cast<std::uint8_t*>(start), start == MAP_FAILED ? 0 : bytes) {}
    MappedMemory(MappedMemory&& other) noexcept : memory(std::exchange(other.memory, {})) {}
    MappedMemory& operator=(MappedMemory&& other) noexcept {
        std::swap(memory, other.memory);
        return *this;
    }
    ~MappedMemory() {
        if (!memory.empty()) ::munmap(memory.data(), memory.size());
    }

    std::span<std::uint8_t> bytes() const { return memory; }

private:
    std::span<std::uint8_t> memory;
};

}  // namespace vellumix::x11
