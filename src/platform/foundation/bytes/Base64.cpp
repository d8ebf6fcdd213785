#include "platform/foundation/bytes/Base64.h"

#include <algorithm>
#include <array>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vellumix::base64 {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t invalid = 0xFF;

constexpr auto values = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(invalid);
    for (std::size_t index = 0; index < alphabet.size(); ++index) {
        table[static_cast<unsigned char>(alphabet[index])] = static_cast<std::uint8_t>(index);
    }
    return table;
}();

std::uint8_t symbol(unsigned sextet) { return static_cast<std::uint8_t>(alphabet[sextet & 0x3F]); }

void encodeGroup(const std::uint8_t* in, std::size_t size, std::uint8_t* out) {
    const unsigned bits =
        unsigned{in[0]} << 16 | (size > 1 ? unsigned{in[1]} << 8 : 0U) | (size > 2 ? unsigned{in[2]} : 0U);
    out[0] = symbol(bits >> 18);
    out[1] = symbol(bits >> 12);
    out[2] = size > 1 ? symbol(bits >> 6) : '=';
    out[3] = size > 2 ? symbol(bits) : '=';
}

/// Appends the bytes of a closed group of sextets; false when it isn't a whole group with canonical padding.
bool closeGroup(const std::array<std::uint8_t, 4>& sextets, std::size_t count, std::size_t padding,
                std::uint8_t*& out) {
    if (count == 0 && padding == 0) return true;
    if (count + padding != 4 || count < 2) return false;
    const unsigned bits = unsigned{sextets[0]} << 18 | unsigned{sextets[1]} << 12 |
                          (count > 2 ? unsigned{sextets[2]} << 6 : 0U) |
                          (count > 3 ? unsigned{sextets[3]} : 0U);
    const auto size = count - 1;
    if ((bits & (0xFFFFFFU >> (8 * size))) != 0) return false;
    for (std::size_t index = 0; index < size; ++index)
        *out++ = static_cast<std::uint8_t>(bits >> (16 - 8 * index));
    return true;
}

#if defined(__x86_64__)

/// Where the bytes of eight characters go when each `/` among them, by bit, gets a backslash in front.
struct alignas(16) Shuffle {
    std::array<std::uint8_t, 16> from;
};
constexpr auto escapeShuffles = [] {
    std::array<Shuffle, 256> table{};
    for (std::size_t mask = 0; mask < 256; ++mask) {
        std::size_t to = 0;
        for (std::size_t place = 0; place < 8; ++place) {
            // Place 8 holds the backslash.
            if (mask >> place & 1) table[mask].from[to++] = 8;
            table[mask].from[to++] = static_cast<std::uint8_t>(place);
        }
        while (to < 16) table[mask].from[to++] = 9;
    }
    return table;
}();

/// Sixteen sextets, one a byte, of twelve bytes: two multiplications move the four fields of each group into
/// place.
__attribute__((target("ssse3,popcnt"))) __m128i sextetsOf(__m128i bytes) {
    const auto spread =
        _mm_shuffle_epi8(bytes, _mm_set_epi8(10, 11, 9, 10, 7, 8, 6, 7, 4, 5, 3, 4, 1, 2, 0, 1));
    const auto high =
        _mm_mulhi_epu16(_mm_and_si128(spread, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
    const auto low =
        _mm_mullo_epi16(_mm_and_si128(spread, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
    return _mm_or_si128(high, low);
}

__attribute__((target("ssse3,popcnt"))) __m128i symbolsOf(__m128i sextets) {
    // A row of offsets from sextet to character: 0 for a-z, 1-10 for digits, 11 and 12 for + and /, 13 for
    // A-Z.
    const auto offsets = _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                       '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    auto row = _mm_subs_epu8(sextets, _mm_set1_epi8(51));
    row = _mm_or_si128(row, _mm_and_si128(_mm_cmpgt_epi8(_mm_set1_epi8(26), sextets), _mm_set1_epi8(13)));
    return _mm_add_epi8(_mm_shuffle_epi8(offsets, row), sextets);
}

__attribute__((target("ssse3,popcnt"))) std::uint8_t* putEscapedEight(__m128i eight, unsigned mask,
                                                                      std::uint8_t* out) {
    const auto shuffle = _mm_load_si128(reinterpret_cast<const __m128i*>(escapeShuffles[mask].from.data()));
    const auto withBackslash = _mm_insert_epi16(eight, '\\', 4);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(withBackslash, shuffle));
    return out + 8 + __builtin_popcount(mask);
}

/// Takes as many groups as it can read sixteen bytes at a time.
__attribute__((target("ssse3,popcnt"))) std::uint8_t* encodeBlocks(ByteView& bytes, std::uint8_t* out) {
    while (bytes.size() >= 16) {
        const auto block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes.data()));
        const auto symbols = symbolsOf(sextetsOf(block));
        const auto slashes =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(symbols, _mm_set1_epi8('/'))));
        out = putEscapedEight(symbols, slashes & 0xFF, out);
        out = putEscapedEight(_mm_srli_si128(symbols, 8), slashes >> 8, out);
        bytes = bytes.subspan(12);
    }
    return out;
}

/// What the halves of a character's byte tell of it. The upper halves that hold characters of the alphabet
/// fall into groups, a bit each; the lower half tells for which groups it is outside.
struct DecodingTables {
    alignas(16) std::array<std::uint8_t, 16> group{};
    alignas(16) std::array<std::uint8_t, 16> outside{};
    /// From the character to its sextet; that of the slash differs from the plus's by `slashCorrection`.
    alignas(16) std::array<std::int8_t, 16> offset{};
};
constexpr std::int8_t slashCorrection = (63 - '/') - (62 - '+');
constexpr auto decodingTables = [] {
    constexpr std::uint8_t nowhere = 0x80;
    DecodingTables tables;
    for (std::size_t upper = 0; upper < 16; ++upper) {
        std::uint16_t known = 0;
        for (std::size_t lower = 0; lower < 16; ++lower) {
            const auto value = values[16 * upper + lower];
            if (value == invalid) continue;
            known = static_cast<std::uint16_t>(known | 1U << lower);
            if (16 * upper + lower != '/')
                tables.offset[upper] = static_cast<std::int8_t>(value - (16 * upper + lower));
        }
        tables.group[upper] = known ? static_cast<std::uint8_t>(1U << (upper - 2)) : nowhere;
        for (std::size_t lower = 0; lower < 16; ++lower) {
            if (!(known >> lower & 1)) tables.outside[lower] |= tables.group[upper];
        }
    }
    return tables;
}();

/// Which of eight characters stay when the backslashes among them, by bit, go.
struct alignas(8) Closing {
    std::array<std::uint8_t, 8> from;
};
constexpr auto closings = [] {
    std::array<Closing, 256> table{};
    for (std::size_t mask = 0; mask < 256; ++mask) {
        std::size_t to = 0;
        for (std::size_t place = 0; place < 8; ++place) {
            if (!(mask >> place & 1)) table[mask].from[to++] = static_cast<std::uint8_t>(place);
        }
    }
    return table;
}();

/// The lower eight sextets without the backslashes among them.
__attribute__((target("ssse3,popcnt"))) std::uint8_t* putClosedEight(__m128i sextets, unsigned backslashes,
                                                                     std::uint8_t* out) {
    const auto from = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(closings[backslashes].from.data()));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(sextets, from));
    return out + 8 - __builtin_popcount(backslashes);
}

/// Some sextets of a text, one a byte.
class Sextets {
public:
    /// Takes sixteen characters at a time until there is no room, or one is of neither the alphabet nor an
    /// escaped slash. Returns the end of what was taken.
    __attribute__((target("ssse3,popcnt"))) const std::uint8_t* take(ByteView text) {
        const auto groups = load(decodingTables.group.data());
        const auto outside = load(decodingTables.outside.data());
        const auto offsets = load(decodingTables.offset.data());
        const auto half = _mm_set1_epi8(0x0F);
        const auto* at = text.data();
        const auto* const last = at + std::min(text.size(), bytes.size()) / 16 * 16;
        end = bytes.data();
        // Whether the character before the block is a backslash.
        unsigned carried = 0;
        for (; at != last; at += 16) {
            const auto block = load(at);
            const auto slash = _mm_cmpeq_epi8(block, _mm_set1_epi8('/'));
            const auto backslashes =
                static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8('\\'))));
            const auto escaped = (backslashes << 1 | carried) & 0xFFFF;
            const auto upper = _mm_and_si128(_mm_srli_epi16(block, 4), half);
            const auto strange = _mm_and_si128(_mm_shuffle_epi8(groups, upper),
                                               _mm_shuffle_epi8(outside, _mm_and_si128(block, half)));
            const auto usual =
                static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(strange, _mm_setzero_si128())));
            const auto slashes = static_cast<unsigned>(_mm_movemask_epi8(slash));
            if ((usual | backslashes) != 0xFFFF || (escaped & ~slashes) != 0) break;
            const auto offset = _mm_add_epi8(_mm_shuffle_epi8(offsets, upper),
                                             _mm_and_si128(slash, _mm_set1_epi8(slashCorrection)));
            const auto sextets = _mm_add_epi8(block, offset);
            // Every fourth block of a picture has one: without a branch, as none could be foreseen.
            end = putClosedEight(sextets, backslashes & 0xFF, end);
            end = putClosedEight(_mm_srli_si128(sextets, 8), backslashes >> 8, end);
            carried = backslashes >> 15;
        }
        return at - carried;
    }

    /// Decodes them by sixteen and returns how many are left. Each store writes sixteen bytes at `out`, of
    /// which twelve count.
    __attribute__((target("ssse3,popcnt"))) std::size_t decode(std::uint8_t*& out) const {
        const auto* at = bytes.data();
        for (; end - at >= 16; at += 16) {
            const auto pairs = _mm_maddubs_epi16(load(at), _mm_set1_epi32(0x01400140));
            const auto words = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
            const auto packed = _mm_shuffle_epi8(
                words, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), packed);
            out += 12;
        }
        return static_cast<std::size_t>(end - at);
    }

private:
    static __m128i load(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }

    std::array<std::uint8_t, 2048> bytes;
    std::uint8_t* end = bytes.data();
};

/// Decodes sixteen characters at a time until one is of neither the alphabet nor an escaped slash.
__attribute__((target("ssse3,popcnt"))) void decodeBlocks(ByteView& text, std::uint8_t*& out) {
    Sextets sextets;
    while (true) {
        const auto* end = sextets.take(text);
        for (auto left = sextets.decode(out); left > 0; --left) {
            // Of the escaped slash both characters.
            --end;
            if (end != text.data() && end[-1] == '\\') --end;
        }
        if (end == text.data()) return;
        text = text.subspan(static_cast<std::size_t>(end - text.data()));
    }
}

const bool hasBlocks = __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("popcnt");

#else

std::uint8_t* encodeBlocks(ByteView&, std::uint8_t* out) { return out; }
void decodeBlocks(ByteView&, std::uint8_t*&) {}
constexpr bool hasBlocks = false;

#endif

}  // namespace

std::string encode(ByteView bytes) {
    std::string text(encodedSize(bytes.size()), '\0');
    auto* out = reinterpret_cast<std::uint8_t*>(text.data());
    for (; !bytes.empty(); out += 4) {
        const auto size = std::min<std::size_t>(3, bytes.size());
        encodeGroup(bytes.data(), size, out);
        bytes = bytes.subspan(size);
    }
    return text;
}

std::optional<Bytes> decode(std::string_view text) {
    Bytes bytes(text.size() / 4 * 3 + 3);
    auto* out = bytes.data();
    std::array<std::uint8_t, 4> sextets{};
    std::size_t count = 0;
    std::size_t padding = 0;
    for (const char c : text) {
        if (c == '=') {
            ++padding;
            continue;
        }
        const auto value = values[static_cast<unsigned char>(c)];
        if (value == invalid || padding > 0) return std::nullopt;
        sextets[count++] = value;
        if (count == 4) {
            closeGroup(sextets, 4, 0, out);
            count = 0;
        }
    }
    if (!closeGroup(sextets, count, padding, out)) return std::nullopt;
    bytes.resize(static_cast<std::size_t>(out - bytes.data()));
    return bytes;
}

std::uint8_t* encodeEscaped(ByteView bytes, std::uint8_t* out) {
    if (hasBlocks) out = encodeBlocks(bytes, out);
    while (!bytes.empty()) {
        const auto size = std::min<std::size_t>(3, bytes.size());
        std::array<std::uint8_t, 4> group;
        encodeGroup(bytes.data(), size, group.data());
        for (const auto c : group) {
            if (c == '/') *out++ = '\\';
            *out++ = c;
        }
        bytes = bytes.subspan(size);
    }
    return out;
}

bool decodeEscaped(ByteView& text, std::uint8_t*& out) {
    std::array<std::uint8_t, 4> sextets{};
    std::size_t count = 0;
    std::size_t padding = 0;
    while (true) {
        if (hasBlocks && count == 0 && padding == 0) decodeBlocks(text, out);
        // One group by hand: the end, or what is no Base64.
        do {
            if (text.empty()) return false;
            std::uint8_t c = text[0];
            if (c == '\\') {
                if (text.size() < 2 || text[1] != '/') return false;
                c = '/';
                text = text.subspan(1);
            }
            text = text.subspan(1);
            if (c == '"') return closeGroup(sextets, count, padding, out);
            if (c == '=') {
                ++padding;
                continue;
            }
            const auto value = values[c];
            if (value == invalid || padding > 0) return false;
            sextets[count++] = value;
        } while (count < 4);
        if (!closeGroup(sextets, count, padding, out)) return false;
        count = 0;
    }
}

}  // namespace vellumix::base64
