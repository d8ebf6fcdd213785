#include "platform/view/paint/PangoVisibleText.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "platform/view/paint/CairoHandles.h"

namespace vellumix::view {

namespace {

std::size_t characterLimit(const TextOptions& options, double letters) {
    constexpr double least = 16;
    if (options.lineLimit <= 0 || !(options.maximumWidth < unbounded)) return longestText;
    const double line = options.maximumWidth / (std::max(1.0, options.font.size) * letters) + least;
    return static_cast<std::size_t>(
        std::clamp(line * options.lineLimit, least, static_cast<double>(longestText)));
}

bool isLineBreak(char byte) { return byte == '\n' || byte == '\r'; }

/// The length of the character at the start, in bytes; 0 where none is well formed. `text` isn't empty.
std::size_t characterLength(std::string_view text) {
    if (static_cast<unsigned char>(text[0]) < 0x80) return 1;
    const auto decoded = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
    if (decoded == static_cast<gunichar>(-1) || decoded == static_cast<gunichar>(-2)) return 0;
    return static_cast<std::size_t>(g_utf8_next_char(text.data()) - text.data());
}

/// Appends a character as it may be shown, in as many bytes.
void appendShown(std::string& shown, std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    const bool isControl = (first < 0x20 && first != '\t' && !isLineBreak(character[0])) || first == 0x7F;
    const bool isLatin1Control =
        character.size() == 2 && first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
    if (isControl)
        shown += ' ';
    else if (isLatin1Control)
        shown += "\xC2\xA0";  // a no-break space, of two bytes as well
    else
        shown += character;
}

/// The last place for a caret among the last characters up to `limit`; `limit` itself where there is none
/// near. `starts` are the characters' offsets.
std::size_t graphemeBoundary(const std::string& text, const std::vector<std::size_t>& starts,
                             std::size_t limit) {
    constexpr std::size_t searched = 64;
    const auto first = limit > searched ? limit - searched : 0;
    const auto from = starts[first];
    std::vector<PangoLogAttr> attributes(starts.size() - first + 1);
    pango_get_log_attrs(text.data() + from, static_cast<int>(text.size() - from), -1,
                        pango_language_get_default(), attributes.data(), static_cast<int>(attributes.size()));
    for (auto place = limit; place > first; --place)
        if (attributes[place - first].is_cursor_position) return place;
    return limit;
}

}  // namespace

VisibleText visibleText(std::string_view text, const TextOptions& options, double letters) {
    // What follows decides whether the cut goes through a grapheme.
    constexpr std::size_t following = 32;
    const auto limit = characterLimit(options, letters);
    VisibleText visible;
    visible.text.reserve(std::min(text.size(), 2 * limit));
    std::vector<std::size_t> starts;
    starts.reserve(std::min(text.size(), limit + following));
    int breaks = 0;
    std::size_t at = 0;
    while (at < text.size() && starts.size() < limit + following) {
        const auto length = characterLength(text.substr(at));
        if (isLineBreak(text[at]) && options.lineLimit > 0) {
            const bool isPair = text.substr(at).starts_with("\r\n");
            // The first half of a pair doesn't count.
            if (!isPair && ++breaks == options.lineLimit) break;
        }
        starts.push_back(at);
        if (length == 0)
            visible.text += '?';
        else
            appendShown(visible.text, text.substr(at, length));
        at += std::max<std::size_t>(length, 1);
    }
    visible.characterCount = starts.size();
    if (starts.size() > limit) {
        visible.characterCount = graphemeBoundary(visible.text, starts, limit);
        at = starts[visible.characterCount];
    }
    visible.text.resize(at);
    if (options.lineLimit > 0 && breaks == options.lineLimit && visible.text.ends_with('\r'))
        visible.text.pop_back();
    // A few line ends alone behind the last line aren't worth an ellipsis.
    const auto behind = text.substr(at);
    visible.isCutByLetters = starts.size() > limit && limit < longestText;
    visible.isCut = behind.size() > limit || behind.find_first_not_of("\r\n") != std::string_view::npos;
    return visible;
}

}  // namespace vellumix::view
