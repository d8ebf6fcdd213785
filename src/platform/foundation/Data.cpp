#include "platform/foundation/Data.h"

#include <sys/mman.h>

#include <cstdlib>

namespace vellumix {

void* allocateLarge(std::size_t size) {
    static constexpr std::size_t hugePage = std::size_t{2} << 20;
    const auto whole = (size + hugePage - 1) / hugePage * hugePage;
    auto* const memory = std::aligned_alloc(hugePage, whole);
    // Without memory for the history there is nothing left that the program could do.
    if (!memory) std::abort();
    // Advice: a system without huge pages gives ordinary ones.
    ::madvise(memory, whole, MADV_HUGEPAGE);
    return memory;
}

void freeLarge(void* memory) { std::free(memory); }

}  // namespace vellumix
