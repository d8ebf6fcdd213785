#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/foundation/bytes/Data.h"

namespace vellumix {

/// Takes bytes that come in pieces, in order; false ends the giving.
using ByteTaker = std::function<bool(ByteView piece)>;
/// Gives bytes in pieces; false when not all were given, or not all taken.
using ByteSource = std::function<bool(const ByteTaker& take)>;

/// Memory of buffers that have gone, for those to come: taking a page from the system costs more than filling
/// it. Any thread.
class BlockPool {
public:
    /// A block of that capacity and of size 0; a capacity of 0 where there is no memory.
    Bytes take(std::size_t capacity);
    void put(std::vector<Bytes> blocks);
    /// Returns everything to the system.
    void release();

private:
    std::mutex mutex;
    std::vector<Bytes> blocks;
};

/// A growing row of bytes in blocks, which never moves what it holds and says when there is no more memory.
/// Its blocks come from a pool and return to it.
class BlockBuffer {
public:
    explicit BlockBuffer(std::shared_ptr<BlockPool> pool) : pool(std::move(pool)) {}
    ~BlockBuffer() { clear(); }
    BlockBuffer(const BlockBuffer&) = delete;
    BlockBuffer& operator=(const BlockBuffer&) = delete;

    /// False, with a part of the bytes appended, where there is no memory.
    bool append(ByteView bytes) {
        return append(bytes, [](ByteView part, std::uint8_t* out) {
            std::memcpy(out, part.data(), part.size());
            return true;
        });
    }
    /// Appends what `convert(part, out)` makes of each part: as many bytes at `out`. False also when it
    /// returns false.
    template <class Convert>
    bool append(ByteView bytes, Convert convert) {
        while (!bytes.empty()) {
            auto* const block = blockWithRoom();
            if (!block) return false;
            const auto filled = block->size();
            const auto part = bytes.first(std::min(bytes.size(), block->capacity() - filled));
            block->resize(filled + part.size());
            if (!convert(part, block->data() + filled)) return false;
            bytes = bytes.subspan(part.size());
        }
        return true;
    }
    void clear();

    std::size_t size() const;
    /// The content, in order.
    std::vector<ByteView> parts() const { return {blocks.begin(), blocks.end()}; }

private:
    Bytes* blockWithRoom();

    std::shared_ptr<BlockPool> pool;
    std::vector<Bytes> blocks;
};

}  // namespace vellumix
