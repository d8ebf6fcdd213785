#include "platform/foundation/CaselessText.h"

#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <bit>
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

/// Characters of three bytes that have no case, and compose with nothing before them: kana, ideographs, their
/// punctuation and syllables of Hangul.
bool isCaselessStarter(const char* character) {
    const auto code = (character[0] & 0x0FU) << 12 | (character[1] & 0x3FU) << 6 | (character[2] & 0x3FU);
    return (code >= 0x3000 && code <= 0x9FFF && !(code >= 0x302A && code <= 0x302F) && code != 0x3099 &&
            code != 0x309A) ||
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

/// How many ASCII characters a block begins with.
constexpr std::size_t blockSize = 16;
std::size_t leadingASCII(const char* block) {
    for (std::size_t at = 0; at < blockSize; at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, block + at, sizeof word);
        if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
        const auto others = word & 0x8080808080808080U;
        if (others != 0) return at + static_cast<std::size_t>(std::countr_zero(others)) / 8;
    }
    return blockSize;
}

/// The folded form of a text as it grows, in a string that has the room for it.
class Folding {
public:
    Folding(std::string_view text, std::string& into) : _text(text), _into(into), _used(into.size()) {
        makeRoom();
        while (_at < _text.size()) {
            foldBlocks();
            foldSimple();
        }
        _into.resize(_used);
    }

private:
    /// No character grows to more than twice its bytes, but for those that the library folds.
    void makeRoom() {
        const auto needed = _used + 2 * (_text.size() - _at) + blockSize;
        if (needed > _into.size()) _into.resize(std::max(needed, _into.size() + _into.size() / 2));
    }
    void foldedTo(std::size_t at, const char* to) {
        _at = at;
        _used = static_cast<std::size_t>(to - _into.data());
    }
    // The two loops below work on copies: what they write could be any member, for all that the compiler
    // knows.
    void foldBlocks() {
        const auto text = _text;
        auto at = _at;
        auto* to = _into.data() + _used;
        std::size_t count = blockSize;
        // All of a block costs less than a part of it.
        for (; count == blockSize && at + blockSize <= text.size(); at += count, to += count) {
            const auto* const block = text.data() + at;
            std::transform(block, block + blockSize, to, foldedASCII);
            count = leadingASCII(block);
        }
        if (count == blockSize) {
            for (; at < text.size() && isASCII(text[at]); ++at) *to++ = foldedASCII(text[at]);
        }
        foldedTo(at, to);
    }
    /// Characters beyond ASCII and blanks among them, while they fold one by one.
    void foldSimple() {
        const auto text = _text;
        const auto& folds = _folds;
        auto at = _at;
        auto* to = _into.data() + _used;
        while (at < text.size()) {
            const auto* const from = text.data() + at;
            const auto length = simpleLength(text, at, folds);
            if (length == 2) {
                const auto& fold = folds[from];
                std::memcpy(to, fold.bytes.data(), fold.bytes.size());
                to += fold.length;
            } else if (length == 1) {
                if (at + 1 < text.size() && isASCII(from[1])) break;
                *to++ = foldedASCII(*from);
            } else if (length == 0) {
                foldedTo(at, to);
                return foldCombined();
            } else {
                std::memcpy(to, from, length);
                to += length;
            }
            at += length;
        }
        foldedTo(at, to);
    }
    /// A character that does not, and those beside it that may compose with it, by the library.
    void foldCombined() {
        auto begin = _at;
        // The one before has been folded as if it stood alone.
        if (begin > 0) {
            do --begin;
            while (begin > 0 && (_text[begin] & 0xC0) == 0x80);
            const auto length = _at - begin;
            _used -= length == 2 ? _folds[_text.data() + begin].length : length;
        }
        // Up to where two simple ones stand beside each other.
        auto end = _at + 1;
        for (; end < _text.size(); ++end) {
            const auto length = simpleLength(_text, end, _folds);
            if (length > 0 &&
                (end + length == _text.size() || simpleLength(_text, end + length, _folds) > 0)) {
                break;
            }
        }
        const auto combined = folded(_text.substr(begin, end - begin));
        _at = end;
        _into.resize(std::max(_into.size(), _used + combined.size()));
        std::ranges::copy(combined, _into.data() + _used);
        _used += combined.size();
        makeRoom();
    }

    const TwoByteFolds& _folds = TwoByteFolds::shared();
    std::string_view _text;
    std::string& _into;
    std::size_t _at = 0;
    std::size_t _used;
};

void appendFolded(std::string_view text, std::string& into) { Folding(text, into); }

}  // namespace

CaselessText::CaselessText(std::string_view text) {
    // Without the tables, which an empty query would need for nothing.
    if (!text.empty()) appendFolded(text, _folded);
}

bool CaselessText::isIn(std::string_view text) const {
    if (_folded.empty()) return true;
    std::string window;
    for (std::size_t from = 0; from < text.size();) {
        const auto end = pieceEnd(text, from);
        appendFolded(text.substr(from, end - from), window);
        // The letters of a language share their first byte, which `find` would stop at again and again.
        if (memmem(window.data(), window.size(), _folded.data(), _folded.size())) return true;
        // What a match that goes on in the next piece may have begun with.
        window.erase(0, window.size() - std::min(window.size(), _folded.size() - 1));
        from = end;
    }
    return false;
}

}  // namespace vellumix
