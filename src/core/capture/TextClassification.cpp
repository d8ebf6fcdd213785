#include "core/capture/TextClassification.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>

#include "platform/foundation/coding/URL.h"

namespace vellumix {

namespace {

constexpr std::array<std::string_view, 35> strongTokens{
    "func ",    "def ",     "function ", "class ",   "struct ", "enum ",    "import ",
    "require ", "include ", "#include",  "package ", "public ", "private ", "protected ",
    "static ",  "return ",  "if ",       "else ",    "for ",    "while ",   "switch ",
    "let ",     "var ",     "const ",    "final ",   "async ",  "await ",   "try ",
    "catch ",   "throw ",   "=> ",       "-> ",      "::",      "self.",    "this."};

// "];" counts twice.
constexpr std::array<std::string_view, 16> weakTokens{"();", "() {", "= {", ": {", "];", "];", "});", "// ",
                                                      "/* ", "# ",   "!=",  "==",  "<=", ">=", "&&",  "||"};

constexpr std::size_t tokenCount = strongTokens.size() + weakTokens.size();

constexpr std::string_view token(std::size_t index) {
    return index < strongTokens.size() ? strongTokens[index] : weakTokens[index - strongTokens.size()];
}

constexpr std::size_t pairOf(char first, char second) {
    return static_cast<std::size_t>(static_cast<unsigned char>(first)) << 8 |
           static_cast<unsigned char>(second);
}

/// The pairs of characters with which tokens begin: one look for each character of the text instead of one
/// search of the whole text for each token.
const std::bitset<65536>& tokenStarts() {
    static const auto starts = [] {
        std::bitset<65536> pairs;
        for (std::size_t index = 0; index < tokenCount; ++index)
            pairs.set(pairOf(token(index)[0], token(index)[1]));
        return pairs;
    }();
    return starts;
}

/// The tokens by their first characters.
struct TokensByFirst {
    std::array<std::uint8_t, tokenCount> order{};
    /// Where those of a first character begin in the order; they end where those of the next begin.
    std::array<std::uint8_t, 129> begin{};
};

constexpr auto tokensByFirst = [] {
    TokensByFirst tokens;
    std::uint8_t count = 0;
    for (std::size_t first = 0; first < 128; ++first) {
        tokens.begin[first] = count;
        for (std::size_t index = 0; index < tokenCount; ++index) {
            if (token(index)[0] == static_cast<char>(first))
                tokens.order[count++] = static_cast<std::uint8_t>(index);
        }
    }
    tokens.begin[128] = count;
    return tokens;
}();

/// Sign by sign, as most differ in the first few.
bool startsWith(std::string_view text, std::string_view token) {
    std::size_t same = 0;
    while (same < std::min(text.size(), token.size()) && text[same] == token[same]) ++same;
    return same == token.size();
}

}  // namespace

ClipboardItem::Kind classify(std::string_view trimmed) {
    // Asked first, as a text of megabytes is seldom an address.
    const bool hasScheme = trimmed.starts_with("http:") || trimmed.starts_with("https:");
    if (hasScheme && URL::parse(trimmed)) return ClipboardItem::Kind::link;
    return looksLikeCode(trimmed) ? ClipboardItem::Kind::code : ClipboardItem::Kind::text;
}

bool looksLikeCode(std::string_view text) {
    if (text.find('\n') == std::string_view::npos) return false;
    const auto& starts = tokenStarts();
    std::bitset<tokenCount> found;
    std::size_t strong = 0;
    std::size_t weak = 0;
    for (std::size_t at = 0; at + 1 < text.size(); ++at) {
        if (!starts[pairOf(text[at], text[at + 1])]) continue;
        const auto first = static_cast<unsigned char>(text[at]);
        for (auto place = tokensByFirst.begin[first]; place < tokensByFirst.begin[first + 1U]; ++place) {
            const auto index = tokensByFirst.order[place];
            if (found[index] || !startsWith(text.substr(at), token(index))) continue;
            found.set(index);
            ++(index < strongTokens.size() ? strong : weak);
        }
        if (strong >= 2 || (strong == 1 && weak >= 2)) return true;
    }
    return false;
}

}  // namespace vellumix
