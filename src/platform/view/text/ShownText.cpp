#include "platform/view/text/ShownText.h"

#include <algorithm>

namespace vellumix::view {

namespace {

/// A blank in place of each line end, of as many bytes.
std::string withoutLineEnds(std::string_view text) {
    std::string line(text);
    for (auto& byte : line) {
        if (byte >= '\n' && byte <= '\r') byte = ' ';
    }
    constexpr std::string_view separators = "\u2028\u2029";
    constexpr std::string_view blank = "\u2002";
    const auto shared = separators.substr(0, 2);
    for (auto at = line.find(shared); at != std::string::npos; at = line.find(shared, at + 1)) {
        const bool isSeparator =
            at + 2 < line.size() && (line[at + 2] == separators[2] || line[at + 2] == separators[5]);
        if (isSeparator) line.replace(at, blank.size(), blank);
    }
    return line;
}

/// The boundary of letters at or before an offset; any byte where the letter is a pile of marks.
std::size_t boundaryBefore(std::string_view text, std::size_t offset) {
    constexpr std::size_t longestLetter = 256;
    if (offset == 0 || offset >= text.size()) return std::min(offset, text.size());
    const auto from = offset > longestLetter ? offset - longestLetter : 0;
    const auto window = text.substr(from, 2 * longestLetter);
    const auto after = graphemeBoundaryAfter(window, offset - from);
    const auto found = graphemeBoundaryBefore(window, after);
    return found == 0 && from > 0 ? offset : from + found;
}

}  // namespace

ShownText::ShownText(const Source& source) {
    // Whole steps, so that the stretch stays the same while the caret moves a little.
    constexpr std::size_t step = 128;
    const auto around = std::min(source.around, source.text.size());
    const auto begin = around > source.reach ? (around - source.reach) / step * step : 0;
    const auto end = (around + source.reach + step) / step * step;
    range_ = {boundaryBefore(source.text, begin), boundaryBefore(source.text, end)};
    const auto stretch = source.text.substr(range_.begin, range_.end - range_.begin);
    string_ = withoutLineEnds(stretch);
    if (source.marked.empty() || source.caret < range_.begin || source.caret > range_.end) return;
    const auto at = source.caret - range_.begin;
    marked_ = {at, at + source.marked.size()};
    string_.insert(at, withoutLineEnds(source.marked));
}

std::size_t ShownText::shownOffset(std::size_t offset) const {
    const auto inside = std::clamp(offset, range_.begin, range_.end);
    const auto at = inside - range_.begin;
    return at > marked_.begin ? at + (marked_.end - marked_.begin) : at;
}

std::size_t ShownText::textOffset(std::size_t shown) const {
    const auto composed = std::clamp(shown, marked_.begin, marked_.end) - marked_.begin;
    return std::min(range_.begin + shown - composed, range_.end);
}

}  // namespace vellumix::view
