#include "platform/foundation/bytes/BlockBuffer.h"

#include <new>
#include <numeric>
#include <utility>

namespace vellumix {

namespace {

/// In bytes. A content of kilobytes takes little; one of megabytes comes in blocks of huge pages.
constexpr std::size_t smallestBlock = std::size_t{64} << 10;
constexpr std::size_t largestSmallBlock = std::size_t{512} << 10;
constexpr std::size_t largeBlock = UninitialisedAllocator<std::uint8_t>::largeFrom;

std::size_t capacityAfter(std::size_t capacity) {
    if (capacity == 0) return smallestBlock;
    return capacity < largestSmallBlock ? 2 * capacity : largeBlock;
}

}  // namespace

Bytes BlockPool::take(std::size_t capacity) {
    const std::lock_guard lock(mutex);
    const auto found = std::ranges::find(blocks, capacity, &Bytes::capacity);
    Bytes block;
    if (found != blocks.end()) {
        block.swap(*found);
        blocks.erase(found);
        block.clear();
        return block;
    }
    try {
        block.reserve(capacity);
    } catch (const std::bad_alloc&) {
        return {};
    }
    return block;
}

void BlockPool::put(std::vector<Bytes> blocks) {
    const std::lock_guard lock(mutex);
    std::ranges::move(blocks, std::back_inserter(this->blocks));
}

void BlockPool::release() {
    std::vector<Bytes> blocks;
    const std::lock_guard lock(mutex);
    blocks.swap(this->blocks);
}

void BlockBuffer::clear() { pool->put(std::exchange(blocks, {})); }

std::size_t BlockBuffer::size() const {
    return std::accumulate(blocks.begin(), blocks.end(), std::size_t{0},
                           [](std::size_t sum, const Bytes& block) { return sum + block.size(); });
}

Bytes* BlockBuffer::blockWithRoom() {
    if (!blocks.empty() && blocks.back().size() < blocks.back().capacity()) return &blocks.back();
    auto block = pool->take(capacityAfter(blocks.empty() ? 0 : blocks.back().capacity()));
    if (block.capacity() == 0) return nullptr;
    return &blocks.emplace_back(std::move(block));
}

}  // namespace vellumix
