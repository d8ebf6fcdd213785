#include "platform/foundation/bytes/Data.h"

#include <sys/mman.h>
#include <unistd.h>

#include <new>

namespace vellumix {

namespace {

constexpr std::size_t hugePage = std::size_t{2} << 20;

/// Nothing for what no machine has.
std::size_t wholePages(std::size_t size) {
    const auto whole = (size + hugePage - 1) / hugePage * hugePage;
    return whole < size ? 0 : whole;
}

}  // namespace

void* allocateLarge(std::size_t size) {
    const auto whole = wholePages(size);
    const auto mapped = whole + hugePage;
    auto* const start =
        whole == 0 ? MAP_FAILED
                   : ::mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (start == MAP_FAILED) throw std::bad_alloc();
    // Only an aligned range is given in huge pages; what lies before and behind it goes back.
    auto* const from = static_cast<char*>(start);
    const auto before = (hugePage - reinterpret_cast<std::uintptr_t>(from) % hugePage) % hugePage;
    if (before > 0) ::munmap(from, before);
    ::munmap(from + before + whole, hugePage - before);
    // Advice: a system without huge pages gives ordinary ones.
    ::madvise(from + before, whole, MADV_HUGEPAGE);
    return from + before;
}

void freeLarge(void* memory, std::size_t size) { ::munmap(memory, wholePages(size)); }

void returnPages(std::span<std::uint8_t> range) {
    static const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto begin = reinterpret_cast<std::uintptr_t>(range.data());
    const auto first = (begin + page - 1) / page * page;
    const auto last = (begin + range.size()) / page * page;
    if (first >= last) return;
    auto* const pages = range.data() + (first - begin);
    // The system would fill them again, to make whole huge pages of what is left round them.
    ::madvise(pages, last - first, MADV_NOHUGEPAGE);
    ::madvise(pages, last - first, MADV_DONTNEED);
}

Data::Data(std::shared_ptr<Bytes> whole, std::span<std::uint8_t> part)
    : view_(part), owner(part.data(), [whole = std::move(whole), part](const void*) { returnPages(part); }) {}

}  // namespace vellumix
