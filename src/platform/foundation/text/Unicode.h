#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Text rules of the Unicode Standard, by ICU. All functions take UTF-8 and may run on any thread. What they
/// take is linear in the text, whatever it holds.
namespace vellumix {

/// How many combining characters in a row are put in order and composed (Unicode Standard Annex 15, section
/// 13, "Stream-Safe Text Format"). No language writes more, and the order of a run costs the square of its
/// length.
inline constexpr std::size_t longestCombiningRun = 30;

/// The length in bytes of the character there (Unicode Standard section 3.9, table 3-7); 0 where none is well
/// formed, and at the end.
inline std::size_t characterLength(std::string_view text, std::size_t at) {
    if (at >= text.size()) return 0;
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[at + index]); };
    const auto follows = [&](std::size_t index) { return (byte(index) & 0xC0) == 0x80; };
    const auto lead = byte(0);
    const auto room = text.size() - at;
    if (lead < 0x80) return 1;
    if (lead < 0xC2) return 0;
    if (lead < 0xE0) return room >= 2 && follows(1) ? 2 : 0;
    if (lead < 0xF0) {
        if (room < 3 || !follows(1) || !follows(2)) return 0;
        const bool isOverlong = lead == 0xE0 && byte(1) < 0xA0;
        const bool isSurrogate = lead == 0xED && byte(1) >= 0xA0;
        return isOverlong || isSurrogate ? 0 : 3;
    }
    if (lead > 0xF4 || room < 4 || !follows(1) || !follows(2) || !follows(3)) return 0;
    const bool isOutside = (lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) >= 0x90);
    return isOutside ? 0 : 4;
}
bool isValidUTF8(std::string_view text);
/// The text with each ill-formed sequence replaced by U+FFFD (Unicode Standard section 3.9, "maximal
/// subpart").
std::string repairedUTF8(std::string_view text);
/// The UTF-8 form of ISO 8859-1 bytes.
std::string fromLatin1(std::string_view bytes);

/// True when both texts have the same canonical decomposition (Unicode Standard Annex 15, section 1.1). What
/// holds a run of more than `longestCombiningRun` combining characters is compared by its bytes.
bool canonicallyEqual(std::string_view a, std::string_view b);

/// Without the characters of general category Zs, tabs and line ends at both ends.
std::string_view trimmedOfWhitespaceAndNewlines(std::string_view text);
bool containsWhitespace(std::string_view text);

std::string uppercased(std::string_view text);
std::string lowercased(std::string_view text);
/// The first letter of each word in upper case, every other in lower case.
std::string capitalized(std::string_view text);
/// Whether somebody who looks at the text sees anything of it: more than blanks, control characters and what
/// only directs how others are shown.
bool isVisible(std::string_view text);
/// The offsets, in bytes, at which a grapheme cluster begins, and the size of the text at the end (Unicode
/// Standard Annex 29, section 3). An ill-formed sequence counts as one character.
std::vector<std::size_t> graphemeBoundaries(std::string_view text);
/// The nearest of them before, and behind, an offset: 0 and the size of the text where there is none. These
/// and those of words look 8,000 bytes far, and take that for the end of the text.
std::size_t graphemeBoundaryBefore(std::string_view text, std::size_t offset);
std::size_t graphemeBoundaryAfter(std::string_view text, std::size_t offset);
/// A range of a text, in bytes.
struct TextRange {
    std::size_t begin = 0;
    std::size_t end = 0;

    bool isEmpty() const { return begin == end; }
    friend bool operator==(const TextRange&, const TextRange&) = default;
};
/// What lies between two word boundaries (Unicode Standard Annex 29, section 4) and holds the offset: a word,
/// or what separates words. At the end of the text, it is the last.
TextRange wordSegmentAt(std::string_view text, std::size_t offset);
/// Where the nearest word begins before the offset; 0 where there is none.
std::size_t wordStartBefore(std::string_view text, std::size_t offset);
/// Where the nearest word ends behind the offset; the size of the text where there is none.
std::size_t wordEndAfter(std::string_view text, std::size_t offset);
/// Whether the first strong character runs from right to left (Unicode Standard Annex 9, rule P2); nothing
/// where there is no strong one among the first thousand bytes.
std::optional<bool> startsRightToLeft(std::string_view text);
bool containsRightToLeft(std::string_view text);
/// Without combining marks, under no particular locale: "é" becomes "e", "ł" stays.
std::string withoutDiacritics(std::string_view text);

}  // namespace vellumix
