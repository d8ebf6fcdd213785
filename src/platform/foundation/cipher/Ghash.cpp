#include "platform/foundation/cipher/Ghash.h"

#include <algorithm>

#include "platform/foundation/cipher/AESGCM.h"

namespace vellumix {

namespace {

/// What x^128 is modulo the field's polynomial, in the highest bits.
constexpr std::uint64_t reduction = std::uint64_t{0xE1} << 56;

/// What the four bits that a shift by four pushes out at the low end add to the high one.
constexpr std::array<std::uint64_t, 16> overflows = [] {
    std::array<std::uint64_t, 16> table{};
    for (std::uint64_t bits = 0; bits < table.size(); ++bits) {
        std::uint64_t high = 0;
        for (unsigned step = 0; step < 4; ++step)
            high = (high >> 1) ^ ((bits >> step & 1) != 0 ? reduction : 0);
        table[bits] = high;
    }
    return table;
}();

void put(std::uint64_t number, std::uint8_t* out) {
    for (int shift = 56; shift >= 0; shift -= 8) *out++ = static_cast<std::uint8_t>(number >> shift);
}

std::uint64_t take(const std::uint8_t* in) {
    std::uint64_t number = 0;
    for (int count = 0; count < 8; ++count) number = number << 8 | *in++;
    return number;
}

}  // namespace

Ghash::Element Ghash::fromBlock(const Block& block) { return {take(block.data()), take(block.data() + 8)}; }

Ghash::Element Ghash::byX(Element element) {
    return {element.high >> 1 ^ ((element.low & 1) != 0 ? reduction : 0),
            element.high << 63 | element.low >> 1};
}

Ghash::Ghash(const Block& subkey) : multiples{} {
    // The index's highest bit is the coefficient of x^0.
    multiples[8] = fromBlock(subkey);
    for (std::size_t bit = 4; bit > 0; bit /= 2) multiples[bit] = byX(multiples[2 * bit]);
    for (std::size_t bit = 2; bit < multiples.size(); bit *= 2) {
        for (std::size_t rest = 1; rest < bit; ++rest) {
            multiples[bit + rest] = {multiples[bit].high ^ multiples[rest].high,
                                     multiples[bit].low ^ multiples[rest].low};
        }
    }
}

Ghash::~Ghash() {
    wipe({reinterpret_cast<std::uint8_t*>(multiples.data()), sizeof multiples});
    wipe({reinterpret_cast<std::uint8_t*>(&sum), sizeof sum});
}

/// The sum times the subkey, by Horner's rule from the coefficients of the highest powers on.
void Ghash::multiply() {
    Element product;
    const auto step = [&](std::uint64_t bits) {
        product = {product.high >> 4 ^ overflows[product.low & 15], product.high << 60 | product.low >> 4};
        product.high ^= multiples[bits].high;
        product.low ^= multiples[bits].low;
    };
    for (unsigned shift = 0; shift < 64; shift += 4) step(sum.low >> shift & 15);
    for (unsigned shift = 0; shift < 64; shift += 4) step(sum.high >> shift & 15);
    sum = product;
}

void Ghash::add(ByteView piece) {
    while (!piece.empty()) {
        const auto filled = static_cast<std::size_t>(size % partial.size());
        const auto part = piece.first(std::min(piece.size(), partial.size() - filled));
        std::ranges::copy(part, partial.begin() + static_cast<std::ptrdiff_t>(filled));
        size += part.size();
        piece = piece.subspan(part.size());
        if (size % partial.size() != 0) return;
        const auto block = fromBlock(partial);
        sum = {sum.high ^ block.high, sum.low ^ block.low};
        multiply();
    }
}

Ghash::Block Ghash::finish() {
    const auto bits = size * 8;
    constexpr Block zeros{};
    if (const auto filled = size % zeros.size()) add(ByteView(zeros).subspan(filled));
    Block lengths{};
    put(bits, lengths.data() + 8);
    add(lengths);
    Block result;
    put(sum.high, result.data());
    put(sum.low, result.data() + 8);
    return result;
}

}  // namespace vellumix
