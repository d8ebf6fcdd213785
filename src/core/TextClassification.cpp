#include "core/TextClassification.h"

#include <algorithm>
#include <array>
#include <bitset>

#include "platform/foundation/URL.h"

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

/// The first two characters of each token.
constexpr auto tokenPairs = [] {
    std::array<std::size_t, tokenCount> pairs{};
    for (std::size_t index = 0; index < tokenCount; ++index)
        pairs[index] = pairOf(token(index)[0], token(index)[1]);
    return pairs;
}();

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

}  // namespace

ClipboardItem::Kind classify(std::string_view trimmed) {
    const auto url = URL::parse(trimmed);
    if (url && (url->scheme() == "http" || url->scheme() == "https")) return ClipboardItem::Kind::link;
    return looksLikeCode(trimmed) ? ClipboardItem::Kind::code : ClipboardItem::Kind::text;
}

bool looksLikeCode(std::string_view text) {
    if (text.find('\n') == std::string_view::npos) return false;
    const auto& starts = tokenStarts();
    std::bitset<tokenCount> found;
    std::size_t strong = 0;
    std::size_t weak = 0;
    for (std::size_t at = 0; at + 1 < text.size(); ++at) {
        const auto pair = pairOf(text[at], text[at + 1]);
        if (!starts[pair]) continue;
        for (std::size_t index = 0; index < tokenCount; ++index) {
            if (tokenPairs[index] != pair || found[index] || !text.substr(at).starts_with(token(index)))
                continue;
            found.set(index);
            ++(index < strongTokens.size() ? strong : weak);
        }
        if (strong >= 2 || (strong == 1 && weak >= 2)) return true;
    }
    return false;
}

}  // namespace vellumix
