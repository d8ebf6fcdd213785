#pragma once

#include <array>
#include <cstdint>

#include "platform/foundation/bytes/Data.h"

namespace vellumix {

/// GHASH of a text without associated data (NIST SP 800-38D, sections 6.3 to 6.5), in pieces.
///
/// By tables of four bits, as ciphers do it in software: some ten times slower than the processor's own
/// multiplication.
class Ghash {
public:
    using Block = std::array<std::uint8_t, 16>;

    /// `subkey` is the cipher of a block of zeros. Both it and what is derived from it are wiped at the end.
    explicit Ghash(const Block& subkey);
    ~Ghash();
    Ghash(const Ghash&) = delete;
    Ghash& operator=(const Ghash&) = delete;

    void add(ByteView piece);
    /// With the text's length behind it. Called once, at the end.
    Block finish();

private:
    /// A polynomial over GF(2): the coefficient of x^0 is the highest bit of `high`.
    struct Element {
        std::uint64_t high = 0;
        std::uint64_t low = 0;
    };
    static Element fromBlock(const Block& block);
    static Element byX(Element element);
    void multiply();

    /// The products of the subkey with all polynomials of four bits.
    std::array<Element, 16> multiples;
    Element sum;
    Block partial{};
    std::uint64_t size = 0;
};

}  // namespace vellumix
