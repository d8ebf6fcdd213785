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
        : _memory(static_cast<std::uint8_t*>(start), start == MAP_FAILED ? 0 : bytes) {}
    MappedMemory(MappedMemory&& other) noexcept : _memory(std::exchange(other._memory, {})) {}
    MappedMemory& operator=(MappedMemory&& other) noexcept {
        std::swap(_memory, other._memory);
        return *this;
    }
    ~MappedMemory() {
        if (!_memory.empty()) ::munmap(_memory.data(), _memory.size());
    }

    std::span<std::uint8_t> bytes() const { return _memory; }

private:
    std::span<std::uint8_t> _memory;
};

}  // namespace vellumix::x11
