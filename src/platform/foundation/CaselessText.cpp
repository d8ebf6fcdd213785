#include "platform/foundation/CaselessText.h"

#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace vellumix {

namespace {

/// Text is folded and searched in pieces of about this many bytes, so that a match early in a long text is
/// found early, and little memory is touched.
constexpr std::size_t pieceSize = 16384;
/// What tells a small ASCII letter from its capital.
constexpr char caseBit = 0x20;

bool isASCII(char c) { return static_cast<unsigned char>(c) < 0x80; }

char foldedASCII(char c) { return static_cast<char>(c | (c >= 'A' && c <= 'Z' ? caseBit : 0)); }

/// By the library, for whatever text.
std::string folded(std::string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* const decomposition = icu::Normalizer2::getNFDInstance(status);
    // Composed, so that a letter isn't found in the same letter with an accent.
    const auto* const composition = icu::Normalizer2::getNFCInstance(status);
    std::string result(text);
    if (U_FAILURE(status)) {
        std::ranges::transform(result, result.begin(), foldedASCII);
        return result;
    }
    auto wide = icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
    wide = decomposition->normalize(decomposition->normalize(wide, status).foldCase(), status);
    wide = composition->normalize(wide, status);
    result.clear();
    wide.toUTF8String(result);
    return result;
}

/// The folded forms of the characters that UTF-8 writes in two bytes: the letters of Latin, Greek, Cyrillic,
/// Hebrew and Arabic.
class TwoByteFolds {
public:
    struct Fold {
        std::array<char, 4> bytes;
        /// 0 for a character that combines with the one before it.
        std::uint32_t length = 0;
    };

    static const TwoByteFolds& shared() {
        static const TwoByteFolds table;
        return table;
    }
    const Fold& operator[](const char* character) const {
        return _folds[(character[0] & 0x1FU) << 6 | (character[1] & 0x3FU)];
    }

private:
    TwoByteFolds() {
        UErrorCode status = U_ZERO_ERROR;
        const auto* const composition = icu::Normalizer2::getNFCInstance(status);
        if (U_FAILURE(status)) return;
        for (UChar32 each = 0x80; each < static_cast<UChar32>(_folds.size()); ++each) {
            if (!composition->hasBoundaryBefore(each)) continue;
            std::string text;
            const auto form = folded(icu::UnicodeString(each).toUTF8String(text));
            auto& fold = _folds[static_cast<std::size_t>(each)];
            if (form.size() > fold.bytes.size()) continue;
            std::ranges::copy(form, fold.bytes.begin());
            fold.length = static_cast<std::uint32_t>(form.size());
        }
    }

    std::array<Fold, 0x800> _folds{};
};

/// Characters of three bytes that have no case, and compose with nothing before them: kana, ideographs and
/// syllables of Hangul.
bool isCaselessStarter(const char* character) {
    const auto code = (character[0] & 0x0FU) << 12 | (character[1] & 0x3FU) << 6 | (character[2] & 0x3FU);
    return (code >= 0x3031 && code <= 0x9FFF && code != 0x3099 && code != 0x309A) ||
           (code >= 0xAC00 && code <= 0xD7A3);
}

/// The length in bytes of a character whose folded form depends on nothing around it, unless what follows
/// combines with it; 0 for any other, and past the end.
std::size_t simpleLength(std::string_view text, std::size_t at, const TwoByteFolds& folds) {
    if (at >= text.size()) return 0;
    const auto* character = text.data() + at;
    const auto lead = static_cast<unsigned char>(*character);
    if (lead < 0x80) return 1;
    // Not a lead but the middle of a character.
    if (lead < 0xC2) return 0;
    if (lead < 0xE0) return at + 2 <= text.size() && folds[character].length > 0 ? 2 : 0;
    return lead < 0xF0 && at + 3 <= text.size() && isCaselessStarter(character) ? 3 : 0;
}

/// A limit that parts no character from what combines with it.
std::size_t pieceEnd(std::string_view text, std::size_t from) {
    if (text.size() - from <= pieceSize) return text.size();
    auto end = from + pieceSize;
    while (end < text.size() && simpleLength(text, end, TwoByteFolds::shared()) == 0) ++end;
    return end;
}

/// Whether `blockSize` characters and the one behind them are all ASCII.
constexpr std::size_t blockSize = 16;
bool isASCIIBlock(std::string_view text, std::size_t at) {
    if (at + blockSize >= text.size()) return false;
    std::uint64_t words[blockSize / sizeof(std::uint64_t)];
    std::memcpy(words, text.data() + at, blockSize);
    return ((words[0] | words[1]) & 0x8080808080808080U) == 0 && isASCII(text[at + blockSize]);
}

/// Appends the folded form. Most characters fold one by one; those that others combine with go to the library
/// together.
void appendFolded(std::string_view text, std::string& into) {
    const auto& folds = TwoByteFolds::shared();
    auto used = into.size();
    // No character grows to more than twice its bytes, but for those that the library folds.
    const auto roomFor = [](std::size_t bytes) { return 2 * bytes + sizeof(TwoByteFolds::Fold); };
    into.resize(used + roomFor(text.size()));
    auto length = simpleLength(text, 0, folds);
    for (std::size_t at = 0; at < text.size();) {
        const auto* from = text.data() + at;
        auto* const to = into.data() + used;
        // The character behind the block may combine with its last.
        if (length == 1 && isASCIIBlock(text, at)) {
            std::transform(from, from + blockSize, to, foldedASCII);
            at += blockSize;
            used += blockSize;
            continue;
        }
        const auto next = simpleLength(text, at + length, folds);
        if (length > 0 && (next > 0 || at + length == text.size())) {
            if (length == 1) {
                *to = foldedASCII(*from);
                ++used;
            } else if (length == 2) {
                const auto& fold = folds[from];
                std::memcpy(to, fold.bytes.data(), fold.bytes.size());
                used += fold.length;
            } else {
                std::memcpy(to, from, length);
                used += length;
            }
            at += length;
            length = next;
            continue;
        }
        // Up to where two simple ones stand beside each other.
        auto end = at + std::max<std::size_t>(1, length);
        for (length = 0; end < text.size(); ++end) {
            length = simpleLength(text, end, folds);
            if (length > 0 && (end + length == text.size() || simpleLength(text, end + length, folds) > 0))
                break;
        }
        const auto combined = folded(text.substr(at, end - at));
        at = end;
        const auto needed = used + combined.size() + roomFor(text.size() - at);
        if (needed > into.size()) into.resize(std::max(needed, into.size() + into.size() / 2));
        std::ranges::copy(combined, into.data() + used);
        used += combined.size();
    }
    into.resize(used);
}

}  // namespace

CaselessText::CaselessText(std::string_view text) { appendFolded(text, _folded); }

bool CaselessText::isIn(std::string_view text) const {
    if (_folded.empty()) return true;
    std::string window;
    for (std::size_t from = 0; from < text.size();) {
        const auto end = pieceEnd(text, from);
        appendFolded(text.substr(from, end - from), window);
        if (window.find(_folded) != std::string::npos) return true;
        // What a match that goes on in the next piece may have begun with.
        window.erase(0, window.size() - std::min(window.size(), _folded.size() - 1));
        from = end;
    }
    return false;
}

}  // namespace vellumix
