// What the program itself takes from the heap is wiped when it is given back: the text of an entry goes
// through strings, buffers and caches of all kinds, and none of them is to leave it there once the entry is
// locked. The forms of `new` and `delete` for arrays, and those that don't throw, call these.

#include <malloc.h>
#include <unicode/uclean.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/foundation/cipher/AESGCM.h"

namespace {

void wipeAndFree(void* memory, std::size_t size) {
    vellumix::wipe({static_cast<std::uint8_t*>(memory), size});
    std::free(memory);
}

void wipeAndFree(void* memory) {
    if (memory) wipeAndFree(memory, malloc_usable_size(memory));
}

/// The Unicode library has its own way to the heap, which must be told before it is first used.
[[maybe_unused]] const bool libraryIsTold = [] {
    UErrorCode status = U_ZERO_ERROR;
    u_setMemoryFunctions(
        nullptr, [](const void*, std::size_t size) { return std::malloc(size); },
        [](const void*, void* memory, std::size_t size) {
            auto* const larger = std::malloc(size);
            if (larger && memory) {
                std::memcpy(larger, memory, std::min(size, malloc_usable_size(memory)));
                wipeAndFree(memory);
            }
            return larger;
        },
        [](const void*, void* memory) { wipeAndFree(memory); }, &status);
    return U_SUCCESS(status);
}();

}  // namespace

void* operator new(std::size_t size) {
    while (true) {
        if (auto* const memory = std::malloc(std::max<std::size_t>(size, 1))) return memory;
        const auto handler = std::get_new_handler();
        if (!handler) throw std::bad_alloc();
        handler();
    }
}
void operator delete(void* memory) noexcept { wipeAndFree(memory); }
void operator delete(void* memory, std::size_t size) noexcept {
    if (memory) wipeAndFree(memory, size);
}
