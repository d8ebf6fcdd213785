#include "platform/foundation/Data.h"

#include <sys/mman.h>

#include <cstdlib>
#include <new>

namespace vellumix {

void* allocateLarge(std::size_t size) {
    static constexpr std::size_t hugePage = std::size_t{2} << 20;
    const auto whole = (size + hugePage - 1) / hugePage * hugePage;
    auto* const memory = std::aligned_alloc(hugePage, whole);
    if (!memory) throw std::bad_alloc();
    // Advice: a system without huge pages gives ordinary ones.
    ::madvise(memory, whole, MADV_HUGEPAGE);
    return memory;
}

void freeLarge(void* memory) { std::free(memory); }

}  // namespace vellumix
