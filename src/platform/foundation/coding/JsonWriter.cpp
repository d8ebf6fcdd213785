#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "platform/foundation/bytes/Base64.h"
#include "platform/foundation/coding/Json.h"

namespace vellumix {

namespace {

constexpr bool needsEscape(unsigned char c) { return c < 0x20 || c == '"' || c == '\\' || c == '/'; }

/// What stands behind the backslash for a character that needs one; 0 where that is its code.
constexpr char escapeLetter(unsigned char c) {
    switch (c) {
        case '\b':
            return 'b';
        case '\f':
            return 'f';
        case '\n':
            return 'n';
        case '\r':
            return 'r';
        case '\t':
            return 't';
        case '"':
        case '\\':
        case '/':
            return static_cast<char>(c);
        default:
            return 0;
    }
}

/// How many bytes at the start can be copied as they are.
std::size_t plainPrefix(std::string_view text) {
    std::size_t at = 0;
#if defined(__SSE2__)
    for (; at + 16 <= text.size(); at += 16) {
        const auto block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at));
        const auto is = [&](char c) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(c)); };
        const auto control = _mm_cmpeq_epi8(_mm_max_epu8(block, _mm_set1_epi8(0x20)), block);
        const auto special = _mm_or_si128(_mm_or_si128(is('"'), is('\\')), is('/'));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(special)) |
                          (~static_cast<unsigned>(_mm_movemask_epi8(control)) & 0xFFFF);
        if (mask) return at + static_cast<std::size_t>(__builtin_ctz(mask));
    }
#endif
    while (at < text.size() && !needsEscape(static_cast<unsigned char>(text[at]))) ++at;
    return at;
}

}  // namespace

bool JsonWriter::handOn() {
    if (take && isTaken && !out.empty()) isTaken = (*take)(out);
    if (take) out.clear();
    return isTaken;
}

/// Called after every write that may be a long one.
void JsonWriter::passOn() {
    if (take && out.size() >= pieceSize) handOn();
}

void JsonWriter::put(std::string_view text) {
    while (!text.empty()) {
        const auto piece = text.substr(0, pieceSize);
        append(out, viewOf(piece));
        passOn();
        text.remove_prefix(piece.size());
    }
}

void JsonWriter::separate() {
    if (needsComma) out.push_back(',');
    needsComma = true;
}

void JsonWriter::open(char bracket) {
    separate();
    out.push_back(static_cast<std::uint8_t>(bracket));
    needsComma = false;
}

void JsonWriter::close(char bracket) {
    out.push_back(static_cast<std::uint8_t>(bracket));
    needsComma = true;
}

void JsonWriter::quoted(std::string_view text) {
    static constexpr char digits[] = "0123456789abcdef";
    out.push_back('"');
    while (true) {
        const auto plain = plainPrefix(text);
        put(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty()) break;
        const auto c = static_cast<unsigned char>(text[0]);
        text.remove_prefix(1);
        if (const char letter = escapeLetter(c)) {
            put({std::array{'\\', letter}.data(), 2});
        } else {
            put({std::array{'\\', 'u', '0', '0', digits[c >> 4], digits[c & 0x0F]}.data(), 6});
        }
    }
    out.push_back('"');
}

void JsonWriter::key(std::string_view name) {
    separate();
    quoted(name);
    out.push_back(':');
    needsComma = false;
}

std::size_t JsonWriter::stringSize(std::string_view text) {
    std::size_t size = text.size() + 2;
    while (true) {
        text.remove_prefix(plainPrefix(text));
        if (text.empty()) return size;
        size += escapeLetter(static_cast<unsigned char>(text[0])) ? 1 : 5;
        text.remove_prefix(1);
    }
}

void JsonWriter::string(std::string_view text) {
    separate();
    quoted(text);
}

void JsonWriter::number(double value) {
    separate();
    std::array<char, 32> text;
    // Plain digits where they are no longer than a person would write them, an exponent beyond.
    const auto size = std::abs(value);
    const auto format =
        size == 0 || (size >= 1e-4 && size < 1e16) ? std::chars_format::fixed : std::chars_format::scientific;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value, format).ptr;
    put({text.data(), static_cast<std::size_t>(end - text.data())});
}

void JsonWriter::boolean(bool value) {
    separate();
    put(value ? "true" : "false");
}

void JsonWriter::null() {
    separate();
    put("null");
}

void JsonWriter::base64(ByteView bytes) {
    separate();
    out.push_back('"');
    // Whole groups of three, so that the slices join without padding.
    constexpr auto slice = pieceSize / 4 * 3;
    while (!bytes.empty()) {
        const auto piece = bytes.first(std::min(slice, bytes.size()));
        const auto at = out.size();
        out.resize(at + base64::escapedSizeLimit(piece.size()));
        const auto* const end = base64::encodeEscaped(piece, out.data() + at);
        out.resize(static_cast<std::size_t>(end - out.data()));
        passOn();
        bytes = bytes.subspan(piece.size());
    }
    out.push_back('"');
}

}  // namespace vellumix
