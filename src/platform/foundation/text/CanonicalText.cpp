#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/unorm.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {

struct Normalizers {
    const icu::Normalizer2* decomposition = nullptr;
    const icu::Normalizer2* composition = nullptr;
};

const Normalizers& normalizers() {
    static const Normalizers shared = [] {
        UErrorCode status = U_ZERO_ERROR;
        return Normalizers{icu::Normalizer2::getNFDInstance(status),
                           icu::Normalizer2::getNFCInstance(status)};
    }();
    return shared;
}

UChar32 nextCodePoint(std::string_view text, std::size_t& at) {
    auto offset = static_cast<std::int32_t>(at);
    UChar32 character = 0;
    U8_NEXT_OR_FFFD(reinterpret_cast<const std::uint8_t*>(text.data()), offset,
                    static_cast<std::int32_t>(text.size()), character);
    at = static_cast<std::size_t>(offset);
    return character;
}

bool isInside(std::string_view text, std::size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
}

/// Whether the character there may combine with what stands before it; not so at the end.
bool isCombining(std::string_view text, std::size_t at) {
    if (at >= text.size() || static_cast<unsigned char>(text[at]) < 0x80) return false;
    return !normalizers().composition->hasBoundaryBefore(nextCodePoint(text, at));
}

std::size_t commonLength(std::string_view a, std::string_view b) {
    constexpr std::size_t block = 1024;
    const auto shorter = std::min(a.size(), b.size());
    std::size_t at = 0;
    while (at + block <= shorter && std::memcmp(a.data() + at, b.data() + at, block) == 0) at += block;
    while (at < shorter && a[at] == b[at]) ++at;
    return at;
}

/// Some characters from the beginning of a text, each with what combines with it.
struct Stretch {
    std::size_t size = 0;
    std::size_t count = 0;
};

/// As many of them as are asked for, up to the first that has too long a run.
Stretch stretchOf(std::string_view text, std::size_t count) {
    Stretch stretch;
    while (stretch.size < text.size() && stretch.count < count) {
        auto end = stretch.size;
        nextCodePoint(text, end);
        for (std::size_t run = 0; isCombining(text, end); ++run) {
            if (run == longestCombiningRun) return stretch;
            nextCodePoint(text, end);
        }
        stretch.size = end;
        ++stretch.count;
    }
    return stretch;
}

icu::UnicodeString utf16(std::string_view text) {
    return icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
}

bool equalByLibrary(std::string_view a, std::string_view b) {
    const auto left = utf16(a);
    const auto right = utf16(b);
    UErrorCode status = U_ZERO_ERROR;
    return unorm_compare(left.getBuffer(), left.length(), right.getBuffer(), right.length(), 0, &status) ==
               0 &&
           U_SUCCESS(status);
}

/// Where the characters begin of which one of two texts has another than the other; nothing behind too long a
/// run. They are the same up to an offset.
std::optional<std::size_t> differenceBegin(std::string_view a, std::string_view b, std::size_t same) {
    const auto toFirstByte = [&](std::size_t at) {
        while (at > 0 && (isInside(a, at) || isInside(b, at))) --at;
        return at;
    };
    auto begin = toFirstByte(same);
    for (std::size_t run = 0; begin > 0 && (isCombining(a, begin) || isCombining(b, begin)); ++run) {
        if (run > longestCombiningRun) return std::nullopt;
        begin = toFirstByte(begin - 1);
    }
    return begin;
}

}  // namespace

bool canonicallyEqual(std::string_view a, std::string_view b) {
    constexpr std::size_t mostAtOnce = 256;
    // Unlike texts of megabytes cost no more than their common beginning, and where they differ in their
    // bytes alone, more and more is given to the library at once.
    for (std::size_t count = 1;; count = std::min(2 * count, mostAtOnce)) {
        const auto same = commonLength(a, b);
        if (same == a.size() && same == b.size()) return true;
        if (same == a.size() || same == b.size()) return false;
        // Each of them stays what and where it is, whatever follows: ASCII neither decomposes nor combines.
        if (U8_IS_SINGLE(a[same]) && U8_IS_SINGLE(b[same])) return false;
        const auto begin = differenceBegin(a, b, same);
        if (!begin) return false;
        a.remove_prefix(*begin);
        b.remove_prefix(*begin);
        const auto fewest = std::min(stretchOf(a, count).count, stretchOf(b, count).count);
        const auto left = stretchOf(a, fewest).size;
        const auto right = stretchOf(b, fewest).size;
        if (fewest == 0 || !equalByLibrary(a.substr(0, left), b.substr(0, right))) return false;
        a.remove_prefix(left);
        b.remove_prefix(right);
    }
}

std::string withoutDiacritics(std::string_view text) {
    const auto& forms = normalizers();
    UErrorCode status = U_ZERO_ERROR;
    std::string result;
    result.reserve(text.size());
    icu::UnicodeString stretch;
    const auto finish = [&] {
        const auto decomposed = forms.decomposition->normalize(stretch, status);
        icu::UnicodeString kept;
        for (std::int32_t at = 0; at < decomposed.length(); at = decomposed.moveIndex32(at, 1)) {
            const auto character = decomposed.char32At(at);
            if (u_charType(character) != U_NON_SPACING_MARK) kept.append(character);
        }
        // Composed again, so that what carries no mark (Hangul, for one) comes back as it was.
        forms.composition->normalize(kept, status).toUTF8String(result);
        stretch.remove();
    };
    constexpr std::int32_t longEnough = 4096;
    std::size_t run = 0;
    for (std::size_t at = 0; at < text.size();) {
        const bool isCombined = isCombining(text, at);
        if (stretch.length() >= longEnough && !isCombined) finish();
        const auto character = nextCodePoint(text, at);
        if (u_charType(character) == U_NON_SPACING_MARK) continue;
        run = isCombined ? run + 1 : 0;
        // Of too long a run, so many are put in order at a time.
        if (run > 0 && run % longestCombiningRun == 0) finish();
        stretch.append(character);
    }
    finish();
    return U_SUCCESS(status) ? result : std::string(text);
}

}  // namespace vellumix
