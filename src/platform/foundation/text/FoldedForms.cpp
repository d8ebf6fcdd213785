#include "platform/foundation/text/FoldedForms.h"

#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>

namespace vellumix {

namespace {

/// Blocks of characters that have neither case nor marks: ideographs, syllables of Hangul, and what is
/// nobody's but a program's own. Whole blocks, so that a text in Chinese doesn't fill hundreds of them.
bool isPlain(UChar32 first) {
    return (first >= 0x3100 && first < 0xA000) || (first >= 0xAC00 && first < 0xD780) ||
           (first >= 0xE000 && first < 0xF900) || (first >= 0x20000 && first < 0x2F800);
}

}  // namespace

std::string foldedByLibrary(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* const decomposition = icu::Normalizer2::getNFDInstance(status);
    // Composed, so that a letter isn't found in the same letter with an accent.
    const auto* const composition = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) return std::string(text);
    auto wide = icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
    wide = decomposition->normalize(decomposition->normalize(wide, status).foldCase(), status);
    wide = composition->normalize(wide, status);
    std::string result;
    return wide.toUTF8String(result);
}

FoldedForms& FoldedForms::shared() {
    static FoldedForms forms;
    return forms;
}

const FoldedForms::Block& FoldedForms::make(std::size_t number) {
    static const Block plain{};
    const auto first = static_cast<UChar32>(number * 64);
    UErrorCode status = U_ZERO_ERROR;
    const auto* const composition = icu::Normalizer2::getNFCInstance(status);
    const auto* const decomposition = icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status) || isPlain(first)) {
        blocks[number] = &plain;
        return plain;
    }
    auto block = std::make_unique<Block>();
    for (UChar32 offset = 0; offset < 64; ++offset) {
        auto& form = (*block)[static_cast<std::size_t>(offset)];
        const auto character = first + offset;
        // Half of a pair of UTF-16 is no character.
        if (U_IS_SURROGATE(character)) continue;
        std::string text;
        icu::UnicodeString(character).toUTF8String(text);
        const auto folded = foldedByLibrary(text);
        const auto wide = icu::UnicodeString::fromUTF8(folded);
        const bool isOne = wide.countChar32() == 1 && decomposition->isNormalized(wide, status);
        if (!composition->hasBoundaryBefore(character) || !composition->hasBoundaryBefore(wide.char32At(0))) {
            form.kind = Form::combining;
            if (folded == text && isOne) form.detail = composition->getCombiningClass(character);
        } else {
            form.kind = Form::longer;
            form.detail = isOne;
            if (folded.size() > form.bytes.size()) continue;
            form.kind = static_cast<std::uint8_t>(folded.size());
            std::ranges::copy(folded, form.bytes.begin());
        }
    }
    made.push_back(std::move(block));
    blocks[number] = made.back().get();
    return *blocks[number];
}

std::int32_t FoldedForms::composedByLibrary(std::int32_t character, std::int32_t mark) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* const composition = icu::Normalizer2::getNFCInstance(status);
    return U_SUCCESS(status) ? composition->composePair(character, mark) : U_SENTINEL;
}

}  // namespace vellumix
