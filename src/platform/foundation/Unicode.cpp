#include "platform/foundation/Unicode.h"

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/unorm.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

namespace vellumix {

namespace {

icu::UnicodeString utf16(std::string_view text) {
    return icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
}

std::string utf8(const icu::UnicodeString& text) {
    std::string result;
    return text.toUTF8String(result);
}

bool isBlank(UChar32 c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029 ||
           u_charType(c) == U_SPACE_SEPARATOR;
}

UChar32 codePointAt(std::string_view text, std::size_t at, std::size_t* next = nullptr) {
    auto offset = static_cast<std::int32_t>(at);
    UChar32 c = 0;
    U8_NEXT_OR_FFFD(reinterpret_cast<const std::uint8_t*>(text.data()), offset,
                    static_cast<std::int32_t>(text.size()), c);
    if (next) *next = static_cast<std::size_t>(offset);
    return c;
}

const icu::Normalizer2* decomposition() {
    UErrorCode status = U_ZERO_ERROR;
    return icu::Normalizer2::getNFDInstance(status);
}

std::size_t codePointStart(std::string_view text, std::size_t at) {
    while (at > 0 && at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) --at;
    return at;
}

template <class Map>
std::string mapped(std::string_view text, Map map) {
    std::string result;
    icu::StringByteSink<std::string> sink(&result, static_cast<std::int32_t>(text.size()));
    UErrorCode status = U_ZERO_ERROR;
    map(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())), sink, status);
    return U_SUCCESS(status) ? result : std::string(text);
}

}  // namespace

bool isValidUTF8(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size()) {
        std::uint64_t eight = 0;
        if (at + sizeof eight <= text.size()) {
            std::memcpy(&eight, text.data() + at, sizeof eight);
            if ((eight & 0x8080808080808080) == 0) {
                at += sizeof eight;
                continue;
            }
        }
        if (static_cast<unsigned char>(text[at]) < 0x80) {
            ++at;
            continue;
        }
        auto offset = static_cast<std::int32_t>(at);
        UChar32 c = 0;
        U8_NEXT(reinterpret_cast<const std::uint8_t*>(text.data()), offset,
                static_cast<std::int32_t>(text.size()), c);
        if (c < 0) return false;
        at = static_cast<std::size_t>(offset);
    }
    return true;
}

std::string repairedUTF8(std::string_view text) {
    if (isValidUTF8(text)) return std::string(text);
    return utf8(utf16(text));
}

std::string fromLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char raw : bytes) {
        const auto c = static_cast<unsigned char>(raw);
        if (c < 0x80) {
            text += raw;
        } else {
            text += static_cast<char>(0xC0 | c >> 6);
            text += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return text;
}

bool canonicallyEqual(std::string_view a, std::string_view b) {
    const auto shorter = std::min(a.size(), b.size());
    auto at = static_cast<std::size_t>(
        std::mismatch(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(shorter), b.begin()).first -
        a.begin());
    if (at == shorter && a.size() == b.size()) return true;
    at = codePointStart(a.size() > b.size() ? a : b, at);
    // Two different code points that take part in no composition or reordering end the comparison here, so
    // that unlike texts of megabytes cost no more than their common beginning.
    const auto inertAt = [at](std::string_view text) {
        return at == text.size() || decomposition()->isInert(codePointAt(text, at));
    };
    if (inertAt(a) && inertAt(b)) return false;
    const auto left = utf16(a);
    const auto right = utf16(b);
    UErrorCode status = U_ZERO_ERROR;
    return unorm_compare(left.getBuffer(), left.length(), right.getBuffer(), right.length(), 0, &status) ==
               0 &&
           U_SUCCESS(status);
}

std::string_view trimmedOfWhitespaceAndNewlines(std::string_view text) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t next = begin;
        if (!isBlank(codePointAt(text, begin, &next))) break;
        begin = next;
    }
    std::size_t end = text.size();
    while (end > begin) {
        const auto start = codePointStart(text, end - 1);
        if (!isBlank(codePointAt(text, start))) break;
        end = start;
    }
    return text.substr(begin, end - begin);
}

bool containsWhitespace(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        std::size_t next = at;
        if (isBlank(codePointAt(text, at, &next))) return true;
        at = next;
    }
    return false;
}

std::string uppercased(std::string_view text) {
    return mapped(text, [](icu::StringPiece piece, icu::ByteSink& sink, UErrorCode& status) {
        icu::CaseMap::utf8ToUpper("", 0, piece, sink, nullptr, status);
    });
}

std::string lowercased(std::string_view text) {
    return mapped(text, [](icu::StringPiece piece, icu::ByteSink& sink, UErrorCode& status) {
        icu::CaseMap::utf8ToLower("", 0, piece, sink, nullptr, status);
    });
}

std::string capitalized(std::string_view text) {
    return mapped(text, [](icu::StringPiece piece, icu::ByteSink& sink, UErrorCode& status) {
        icu::CaseMap::utf8ToTitle("", 0, nullptr, piece, sink, nullptr, status);
    });
}

std::vector<std::size_t> graphemeBoundaries(std::string_view text) {
    std::vector<std::size_t> boundaries{0};
    if (text.empty()) return boundaries;
    UErrorCode status = U_ZERO_ERROR;
    // Made once: loading the rules costs more than all the short texts of a window.
    static const std::unique_ptr<icu::BreakIterator> prototype(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    const std::unique_ptr<icu::BreakIterator> graphemes(prototype ? prototype->clone() : nullptr);
    UText source = UTEXT_INITIALIZER;
    utext_openUTF8(&source, text.data(), static_cast<std::int64_t>(text.size()), &status);
    if (graphemes) graphemes->setText(&source, status);
    if (graphemes && U_SUCCESS(status)) {
        for (auto at = graphemes->next(); at != icu::BreakIterator::DONE; at = graphemes->next()) {
            boundaries.push_back(static_cast<std::size_t>(at));
        }
    } else {
        boundaries.push_back(text.size());
    }
    utext_close(&source);
    return boundaries;
}

std::string withoutDiacritics(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const auto decomposed = decomposition()->normalize(utf16(text), status);
    if (U_FAILURE(status)) return std::string(text);
    icu::UnicodeString kept;
    for (std::int32_t at = 0; at < decomposed.length(); at = decomposed.moveIndex32(at, 1)) {
        const auto c = decomposed.char32At(at);
        if (u_charType(c) != U_NON_SPACING_MARK) kept.append(c);
    }
    // Composed again, so that what carries no mark (Hangul, for one) comes back as it was.
    const auto* composition = icu::Normalizer2::getNFCInstance(status);
    const auto composed = composition->normalize(kept, status);
    return U_SUCCESS(status) ? utf8(composed) : std::string(text);
}

}  // namespace vellumix
