#include "platform/foundation/text/Unicode.h"

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

namespace vellumix {

namespace {

bool isBlank(UChar32 c) {
    if (c < 0x80) return c == ' ' || (c >= 0x09 && c <= 0x0D);
    return c == 0x85 || c == 0x2028 || c == 0x2029 || u_charType(c) == U_SPACE_SEPARATOR;
}

UChar32 codePointAt(std::string_view text, std::size_t at, std::size_t* next = nullptr) {
    auto offset = static_cast<std::int32_t>(at);
    UChar32 c = 0;
    U8_NEXT_OR_FFFD(reinterpret_cast<const std::uint8_t*>(text.data()), offset,
                    static_cast<std::int32_t>(text.size()), c);
    if (next) *next = static_cast<std::size_t>(offset);
    return c;
}

/// How many bytes are well formed, from the beginning.
std::size_t validUTF8Length(std::string_view text) {
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
        const auto length = characterLength(text, at);
        if (length == 0) break;
        at += length;
    }
    return at;
}

std::size_t codePointStart(std::string_view text, std::size_t at) {
    while (at > 0 && at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) --at;
    return at;
}

std::size_t codePointEnd(std::string_view text, std::size_t at) {
    do ++at;
    while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80);
    return at;
}

/// Characters that join with none of their like: the letters and signs of Latin, Greek, Cyrillic and
/// Armenian, kana and ideographs.
bool standsAlone(UChar32 c) {
    return (c >= 0 && c < 0x300) || (c >= 0x370 && c < 0x483) || (c >= 0x48A && c < 0x591) ||
           (c >= 0x3041 && c <= 0x3096) || (c >= 0x309B && c <= 0x30FF) || (c >= 0x4E00 && c <= 0x9FFF);
}

/// Whether a grapheme ends between two characters of that kind: always, but in a line end of two (Unicode
/// Standard Annex 29, rule GB3). False where others are involved, and at both ends of the text.
bool isPlainBoundary(std::string_view text, std::size_t at) {
    if (at == 0 || at >= text.size()) return false;
    const auto begin = at - std::min<std::size_t>(at, U8_MAX_LENGTH);
    const auto around = text.substr(begin, 2 * U8_MAX_LENGTH);
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(around.data());
    const auto middle = static_cast<std::int32_t>(at - begin);
    auto place = middle;
    UChar32 before = 0;
    UChar32 after = 0;
    U8_PREV(bytes, 0, place, before);
    place = middle;
    U8_NEXT(bytes, place, static_cast<std::int32_t>(around.size()), after);
    return standsAlone(before) && standsAlone(after) && !(before == '\r' && after == '\n');
}

template <class Map>
std::string mapped(std::string_view text, Map map) {
    std::string result;
    icu::StringByteSink<std::string> sink(&result, static_cast<std::int32_t>(text.size()));
    UErrorCode status = U_ZERO_ERROR;
    map(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())), sink, status);
    return U_SUCCESS(status) ? result : std::string(text);
}

bool isRightToLeft(UCharDirection direction) {
    return direction == U_RIGHT_TO_LEFT || direction == U_RIGHT_TO_LEFT_ARABIC;
}

/// How far boundaries are looked for, in bytes. In a text without any, ICU looks at all of that, and going
/// back over a row of flags takes it the square of its length.
constexpr std::size_t reach = 8'000;

/// The boundaries of a text round an offset, by places of ICU: bytes from the beginning of what is looked at.
/// The text must outlive it.
class Breaks {
public:
    enum class Kind { grapheme, word };

    Breaks(std::string_view text, Kind kind) : Breaks(text, kind, 0, text.size()) {}
    Breaks(std::string_view text, Kind kind, std::size_t around)
        : Breaks(text, kind, codePointStart(text, around > reach ? around - reach : 0),
                 codePointStart(text, std::min(around + reach, text.size()))) {}
    ~Breaks() { utext_close(&source); }
    Breaks(const Breaks&) = delete;
    Breaks& operator=(const Breaks&) = delete;

    bool isReady() const { return iterator != nullptr; }
    icu::BreakIterator* operator->() const { return iterator.get(); }
    std::int32_t place(std::size_t offset) const {
        return static_cast<std::int32_t>(std::clamp(offset, begin, end) - begin);
    }
    /// Of a place that was looked for in front, or behind.
    std::size_t offsetBefore(std::int32_t place) const {
        return place == icu::BreakIterator::DONE ? begin : begin + static_cast<std::size_t>(place);
    }
    std::size_t offsetAfter(std::int32_t place) const {
        return place == icu::BreakIterator::DONE ? end : begin + static_cast<std::size_t>(place);
    }
    /// Whether what lies before the present place is a word.
    bool isBehindWord() const { return iterator->getRuleStatus() >= UBRK_WORD_NONE_LIMIT; }

private:
    Breaks(std::string_view text, Kind kind, std::size_t begin, std::size_t end) : begin(begin), end(end) {
        if (const auto* prototype = shared(kind)) iterator.reset(prototype->clone());
        UErrorCode status = U_ZERO_ERROR;
        utext_openUTF8(&source, text.data() + begin, static_cast<std::int64_t>(end - begin), &status);
        if (iterator) iterator->setText(&source, status);
        if (U_FAILURE(status)) iterator.reset();
    }

    /// Made once: loading the rules costs more than all the short texts of a window.
    static const icu::BreakIterator* shared(Kind kind) {
        if (kind == Kind::grapheme) {
            static const auto graphemes = make(Kind::grapheme);
            return graphemes.get();
        }
        static const auto words = make(Kind::word);
        return words.get();
    }
    static std::unique_ptr<icu::BreakIterator> make(Kind kind) {
        UErrorCode status = U_ZERO_ERROR;
        const auto& locale = icu::Locale::getRoot();
        return std::unique_ptr<icu::BreakIterator>(
            kind == Kind::grapheme ? icu::BreakIterator::createCharacterInstance(locale, status)
                                   : icu::BreakIterator::createWordInstance(locale, status));
    }

    std::size_t begin;
    std::size_t end;
    UText source = UTEXT_INITIALIZER;
    std::unique_ptr<icu::BreakIterator> iterator;
};

}  // namespace

bool isValidUTF8(std::string_view text) { return validUTF8Length(text) == text.size(); }

std::string repairedUTF8(std::string_view text) {
    constexpr std::string_view replacement = "\uFFFD";
    std::string repaired;
    repaired.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const auto valid = validUTF8Length(text.substr(at));
        repaired += text.substr(at, valid);
        at += valid;
        if (at == text.size()) break;
        codePointAt(text, at, &at);
        repaired += replacement;
    }
    return repaired;
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

bool isVisible(std::string_view text) {
    // A pattern of Braille without any dot.
    constexpr UChar32 noDots = 0x2800;
    for (std::size_t at = 0; at < text.size();) {
        const auto c = codePointAt(text, at, &at);
        // Of the characters that direct how others are shown, these have a sign of their own.
        const bool hasSign = u_isgraph(c) || u_hasBinaryProperty(c, UCHAR_PREPENDED_CONCATENATION_MARK);
        if (hasSign && c != noDots && !u_hasBinaryProperty(c, UCHAR_DEFAULT_IGNORABLE_CODE_POINT))
            return true;
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
    Breaks graphemes(text, Breaks::Kind::grapheme);
    if (!graphemes.isReady()) return {0, text.size()};
    for (auto at = graphemes->next(); at != icu::BreakIterator::DONE; at = graphemes->next()) {
        boundaries.push_back(static_cast<std::size_t>(at));
    }
    return boundaries;
}

std::size_t graphemeBoundaryBefore(std::string_view text, std::size_t offset) {
    if (offset == 0) return 0;
    // Most letters are found without loading the rules for all.
    const auto previous = codePointStart(text, std::min(offset, text.size()) - 1);
    if (isPlainBoundary(text, previous)) return previous;
    const Breaks graphemes(text, Breaks::Kind::grapheme, offset);
    if (!graphemes.isReady()) return 0;
    return graphemes.offsetBefore(graphemes->preceding(graphemes.place(offset)));
}

std::size_t graphemeBoundaryAfter(std::string_view text, std::size_t offset) {
    if (offset >= text.size()) return text.size();
    const auto next = codePointEnd(text, offset);
    if (isPlainBoundary(text, next)) return next;
    const Breaks graphemes(text, Breaks::Kind::grapheme, offset);
    if (!graphemes.isReady()) return text.size();
    return graphemes.offsetAfter(graphemes->following(graphemes.place(offset)));
}

TextRange wordSegmentAt(std::string_view text, std::size_t offset) {
    if (text.empty()) return {};
    const auto inside = std::min(offset, text.size() - 1);
    const Breaks words(text, Breaks::Kind::word, inside);
    if (!words.isReady()) return {0, text.size()};
    const auto end = words.offsetAfter(words->following(words.place(inside)));
    return {words.offsetBefore(words->previous()), end};
}

std::size_t wordStartBefore(std::string_view text, std::size_t offset) {
    if (offset == 0) return 0;
    const Breaks words(text, Breaks::Kind::word, offset);
    if (!words.isReady()) return 0;
    const auto place = words.place(offset);
    auto at = words->isBoundary(place) ? place : words->following(place);
    while (at > 0) {
        const bool isWord = words.isBehindWord();
        at = words->previous();
        if (isWord) break;
    }
    return words.offsetBefore(at);
}

std::size_t wordEndAfter(std::string_view text, std::size_t offset) {
    if (offset >= text.size()) return text.size();
    const Breaks words(text, Breaks::Kind::word, offset);
    if (!words.isReady()) return text.size();
    auto at = words->following(words.place(offset));
    while (at != icu::BreakIterator::DONE && !words.isBehindWord()) at = words->next();
    return words.offsetAfter(at);
}

std::optional<bool> startsRightToLeft(std::string_view text) {
    constexpr std::size_t searched = 1000;
    for (std::size_t at = 0; at < std::min(text.size(), searched);) {
        const auto direction = u_charDirection(codePointAt(text, at, &at));
        if (direction == U_LEFT_TO_RIGHT) return false;
        if (isRightToLeft(direction)) return true;
    }
    return std::nullopt;
}

bool containsRightToLeft(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        if (isRightToLeft(u_charDirection(codePointAt(text, at, &at)))) return true;
    }
    return false;
}

}  // namespace vellumix
