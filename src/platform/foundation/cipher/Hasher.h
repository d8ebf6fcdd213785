#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "platform/foundation/bytes/Data.h"

namespace vellumix {

/// A keyed 64-bit hash of everything fed, in order: SipHash-1-3 (Aumasson and Bernstein, "SipHash: a fast
/// short-input PRF", section 2). Each fed value is closed by its length, so that ("ab", "c") and ("a", "bc")
/// differ.
class Hasher {
public:
    using Key = std::array<std::uint64_t, 2>;

    /// Keyed by randomness drawn once for the process.
    Hasher();
    explicit Hasher(const Key& key);

    void combine(ByteView bytes);
    void combine(std::string_view text) { combine(viewOf(text)); }
    std::uint64_t finalize();

private:
    void absorb(ByteView bytes);
    void compress(std::uint64_t word);
    void round();

    std::array<std::uint64_t, 4> state;
    std::uint64_t tail = 0;
    std::uint64_t count = 0;
};

}  // namespace vellumix
