#include "views/card/CardText.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/text/LocalizedText.h"
#include "platform/foundation/text/Unicode.h"
#include "platform/view/values/Views.h"

namespace vellumix {

using namespace view;

namespace {

/// In bytes: more than two lines of any panel hold.
constexpr std::size_t longestHead = 1'200;
/// In bytes, about: some ten lines. Lines that have no place to break cost the square of what is set at once.
constexpr std::size_t pieceSize = 1'024;

/// The last place up to an offset, inside of the text, where a character begins; any byte where there is none
/// near.
std::size_t characterBegin(std::string_view text, std::size_t offset) {
    constexpr int longestCharacter = 4;
    auto begin = offset;
    for (int back = 1; back < longestCharacter && begin > 0 && (text[begin] & 0xC0) == 0x80; ++back) --begin;
    return characterLength(text, begin) > offset - begin ? begin : offset;
}

/// Between two letters, at an offset or before it.
std::size_t letterBegin(std::string_view text, std::size_t offset) {
    constexpr std::size_t longestLetter = 256;
    const auto from = offset > longestLetter ? characterBegin(text, offset - longestLetter) : 0;
    const auto found = graphemeBoundaryBefore(text.substr(from, 2 * longestLetter), offset - from);
    // A pile of marks fills all of that.
    return found == 0 ? characterBegin(text, offset) : from + found;
}

/// Where the piece ends that reaches to an offset at most.
std::size_t pieceEnd(std::string_view text, std::size_t offset) {
    if (offset >= text.size()) return text.size();
    const auto from = offset - pieceSize;
    const auto piece = text.substr(from, pieceSize);
    for (const char behind : {'\n', ' '}) {
        const auto found = piece.rfind(behind);
        if (found != std::string_view::npos) return from + found + 1;
    }
    return letterBegin(text, offset);
}

std::string_view pieceOf(std::string_view text, std::size_t number) {
    const auto begin = number == 0 ? 0 : pieceEnd(text, number * pieceSize);
    const auto end = pieceEnd(text, (number + 1) * pieceSize);
    auto piece = text.substr(begin, end - begin);
    // The next piece begins another line by itself.
    if (end < text.size() && piece.ends_with('\n')) piece.remove_suffix(piece.ends_with("\r\n") ? 2 : 1);
    return piece;
}

std::string nameOf(std::string_view character) {
    static constexpr unsigned leadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    unsigned code = static_cast<unsigned char>(character[0]) & leadBits[character.size()];
    for (const char byte : character.substr(1)) code = code << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
    char name[sizeof "U+10FFFF"];
    std::snprintf(name, sizeof name, "U+%04X", code);
    return name;
}

}  // namespace

String headOf(const String& text) {
    if (text.size() <= longestHead) return text;
    return text.view().substr(0, letterBegin(text, longestHead));
}

std::optional<String> invisibleTextLine(const String& text) {
    constexpr std::size_t mostNames = 4;
    const auto head = headOf(text);
    if (head.empty() || isVisible(head)) return std::nullopt;
    std::vector<std::string> names;
    bool areMore = text.size() > head.size();
    for (std::size_t at = 0; at < head.size();) {
        const auto length = characterLength(head, at);
        if (length > 0) {
            auto name = nameOf(head.view().substr(at, length));
            const bool isNew = std::ranges::find(names, name) == names.end();
            areMore = areMore || (isNew && names.size() == mostNames);
            if (isNew && names.size() < mostNames) names.push_back(std::move(name));
        }
        at += std::max<std::size_t>(length, 1);
    }
    auto line = localized("text.invisible") + ":";
    for (const auto& name : names) line += ' ' + name;
    return String(areMore ? line + " \u2026" : line);
}

View wholeText(const String& text) {
    if (text.size() <= 2 * pieceSize) return Text(text);
    const auto piece = [text](std::size_t number) {
        return View(Text(String(pieceOf(text, number))).fillWidth(Alignment::leading()));
    };
    const auto name = [](std::size_t number) { return std::to_string(number); };
    const RowSource pieces{(text.size() + pieceSize - 1) / pieceSize, name, piece};
    return LazyVStack(Spacing(0), pieces).semantics(Role::text, text);
}

}  // namespace vellumix
