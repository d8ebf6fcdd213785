#include <gtest/gtest.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <random>
#include <span>

#include "platform/foundation/text/CaseFolding.h"
#include "platform/foundation/text/CaselessText.h"

namespace vellumix {
namespace {

/// Characters that fold, that combine, that do both and neither, of one to four bytes.
constexpr struct {
    UChar32 first;
    UChar32 count;
} blocks[] = {
    {' ', 95},     {'A', 26},     {0xC0, 400},   {0x300, 112},  {0x300, 80},   {0x370, 144},
    {0x400, 256},  {0x531, 86},   {0x591, 89},   {0x626, 58},   {0x904, 90},   {0xE31, 24},
    {0x1100, 256}, {0x1E00, 512}, {0x2120, 48},  {0x3041, 191}, {0x4E00, 256}, {0xAC00, 256},
    {0xFB00, 80},  {0x10400, 80}, {0x1D15E, 32}, {0x1F600, 64}, {0x2F800, 64}, {0x1DC0, 64},
};

/// Texts in which plain letters stand between those of two scripts.
class Scripts : public testing::Test {
protected:
    std::size_t below(std::size_t count) { return random() % count; }
    /// Of fewer characters than would be too many to combine.
    std::vector<std::string> characters() {
        const std::size_t chosen[] = {below(std::size(blocks)), below(std::size(blocks)), 0};
        std::vector<std::string> characters(below(longestCombiningRun));
        for (auto& character : characters) {
            const auto& block = blocks[chosen[below(std::size(chosen))]];
            char bytes[U8_MAX_LENGTH];
            std::size_t size = 0;
            U8_APPEND_UNSAFE(bytes, size, block.first + static_cast<UChar32>(below(block.count)));
            character.assign(bytes, size);
        }
        return characters;
    }
    static std::string joined(std::span<const std::string> parts) {
        return std::accumulate(parts.begin(), parts.end(), std::string());
    }

    std::mt19937 random{20261123};
};

TEST_F(Scripts, TheWayRoundTheLibraryFoldsAndFindsAsItDoes) {
    for (int round = 0; round < 10'000; ++round) {
        const auto characters = this->characters();
        const auto begin = below(characters.size() + 1);
        const auto count = below(std::min<std::size_t>(characters.size() - begin, 4) + 1);
        // A part of the text, or one that may not be in it.
        const auto part = joined(std::span(characters).subspan(begin, count)) + (below(4) == 0 ? "E" : "");
        // Up to more than is searched at a time.
        const auto text = std::string(below(8) == 0 ? 4000 + below(200) : below(100), 'X') +
                          joined(characters) + std::string(below(100), 'Y');
        FoldedText output;
        for (CaseFolding folding(text); !folding.isAtEnd();) folding.fold(1 + below(40), output);
        const auto folded = foldedByLibrary(text);
        ASSERT_EQ(output.view(), folded) << text;
        ASSERT_EQ(CaselessText(part).isIn(text), folded.find(foldedByLibrary(part)) != std::string::npos)
            << part << " in " << text;
    }
}

TEST_F(Scripts, TheNearestLetterIsTheSameFromEverySide) {
    const char* const odd[] = {"\r",
                               "plain",
                               "\xFFz\xC3",
                               "a\u200Db\u0903c",
                               "1\uFE0F\u20E3 2",
                               "e\u200D\u00A9\u00A9",
                               "two\r\nlines\r\r\n\n",
                               "\U0001F469\U0001F3FD\u200D\U0001F4BBx"};
    std::vector<std::string> texts(std::begin(odd), std::end(odd));
    while (texts.size() < 3000) texts.push_back(joined(characters()));
    for (const auto& text : texts) {
        const auto all = graphemeBoundaries(text);
        for (std::size_t at = 0; at <= text.size(); ++at) {
            if ((text[at] & 0xC0) == 0x80) continue;  // inside of a character
            const auto behind = std::ranges::upper_bound(all, at);
            const auto before = std::ranges::lower_bound(all, at);
            ASSERT_EQ(graphemeBoundaryAfter(text, at), behind == all.end() ? text.size() : *behind)
                << text << ' ' << at;
            ASSERT_EQ(graphemeBoundaryBefore(text, at), before == all.begin() ? 0 : *(before - 1))
                << text << ' ' << at;
        }
    }
}

}  // namespace
}  // namespace vellumix
