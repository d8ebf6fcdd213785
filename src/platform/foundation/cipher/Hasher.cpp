#include "platform/foundation/cipher/Hasher.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "platform/foundation/cipher/AESGCM.h"

namespace vellumix {

namespace {

const Hasher::Key& processKey() {
    static const Hasher::Key key = [] {
        std::array<std::uint8_t, sizeof(Hasher::Key)> bytes;
        fillRandom(bytes);
        return std::bit_cast<Hasher::Key>(bytes);
    }();
    return key;
}

std::uint64_t littleEndian(std::uint64_t word) {
    if constexpr (std::endian::native == std::endian::big) return __builtin_bswap64(word);
    return word;
}

}  // namespace

Hasher::Hasher() : Hasher(processKey()) {}

Hasher::Hasher(const Key& key)
    : state{key[0] ^ 0x736f6d6570736575, key[1] ^ 0x646f72616e646f6d, key[0] ^ 0x6c7967656e657261,
            key[1] ^ 0x7465646279746573} {}

void Hasher::round() {
    auto& [v0, v1, v2, v3] = state;
    v0 += v1;
    v1 = std::rotl(v1, 13) ^ v0;
    v0 = std::rotl(v0, 32);
    v2 += v3;
    v3 = std::rotl(v3, 16) ^ v2;
    v0 += v3;
    v3 = std::rotl(v3, 21) ^ v0;
    v2 += v1;
    v1 = std::rotl(v1, 17) ^ v2;
    v2 = std::rotl(v2, 32);
}

void Hasher::compress(std::uint64_t word) {
    state[3] ^= word;
    round();
    state[0] ^= word;
}

void Hasher::absorb(ByteView bytes) {
    for (const auto byte : bytes) {
        tail |= std::uint64_t{byte} << (8 * (count & 7));
        if ((++count & 7) == 0) compress(std::exchange(tail, 0));
    }
}

void Hasher::combine(ByteView bytes) {
    const std::uint64_t size = bytes.size();
    const auto toWord = std::min<std::size_t>(bytes.size(), (8 - (count & 7)) & 7);
    absorb(bytes.first(toWord));
    bytes = bytes.subspan(toWord);
    while (bytes.size() >= 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data(), 8);
        compress(littleEndian(word));
        count += 8;
        bytes = bytes.subspan(8);
    }
    absorb(bytes);
    std::array<std::uint8_t, 8> length;
    for (std::size_t at = 0; at < 8; ++at) length[at] = static_cast<std::uint8_t>(size >> (8 * at));
    absorb(length);
}

std::uint64_t Hasher::finalize() {
    compress(tail | (count & 0xFF) << 56);
    state[2] ^= 0xFF;
    for (int rounds = 0; rounds < 3; ++rounds) round();
    return state[0] ^ state[1] ^ state[2] ^ state[3];
}

}  // namespace vellumix
