#include "platform/foundation/text/CaselessText.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/foundation/text/CaseFolding.h"

namespace vellumix {

namespace {

/// Text is folded and searched in pieces of about this many bytes, so that a match early in a long text is
/// found early, and little memory is touched.
constexpr std::size_t pieceSize = 4096;
/// How many bytes become one folded byte at most: an iota of three and two accents of two make one letter of
/// two.
constexpr std::size_t mostForOne = 4;

/// The characters of ASCII that some other character folds to, alone or among others, with the first bytes of
/// those in UTF-8.
struct OtherOrigin {
    char letter;
    std::string_view leads;
};
constexpr OtherOrigin otherOrigins[] = {
    {'a', "\xE1"}, {'f', "\xEF"}, {'i', "\xC4\xEF"},         {'k', "\xE2"},
    {'l', "\xEF"}, {'n', "\xC5"}, {'s', "\xC3\xC5\xE1\xEF"}, {'t', "\xEF"},
    {';', "\xCD"}, {'`', "\xE1"},
};

std::string_view otherLeads(char letter) {
    const auto* const found = std::ranges::find(otherOrigins, letter, &OtherOrigin::letter);
    return found == std::end(otherOrigins) ? "" : found->leads;
}

/// The greater the rarer in texts; the letters by how often they come in European languages, first those that
/// have other origins. Of a longer character, the first byte is that of its script.
int rarity(char sign) {
    if (static_cast<unsigned char>(sign) >= 0xC0) return -1;
    constexpr std::string_view common = " stainlfk;`eorhudcmgpywbvxjqz";
    const auto place = common.find(sign);
    return static_cast<int>(place == std::string_view::npos ? common.size() : place);
}

bool isASCII(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

}  // namespace

CaselessText::CaselessText(std::string_view text) {
    FoldedText folded;
    CaseFolding(text).fold(text.size(), folded);
    this->folded = folded.view();
    chooseSigns();
}

void CaselessText::chooseSigns() {
    for (std::size_t at = 1; at < folded.size(); ++at) {
        const auto [first, second] = pair;
        if (folded[at] == folded[first]) continue;
        if (rarity(folded[at]) >= rarity(folded[first]))
            pair = {at, first};
        else if (second == first || rarity(folded[at]) > rarity(folded[second]))
            pair = {first, at};
    }
    this->rarest = folded.size();
    for (std::size_t at = 0; at < folded.size(); ++at) {
        if (!isASCII(folded[at])) continue;
        if (this->rarest == folded.size() || rarity(folded[at]) > rarity(folded[this->rarest]))
            this->rarest = at;
    }
    if (this->rarest == folded.size()) {
        signs.isAnyBeyondASCII = true;
        return;
    }
    const char rarest = folded[this->rarest];
    const bool isLetter = rarest >= 'a' && rarest <= 'z';
    signs.bytes.fill(rarest);
    if (isLetter) signs.bytes[1] = static_cast<char>(rarest - 'a' + 'A');
    std::ranges::copy(otherLeads(rarest), signs.bytes.begin() + 2);
}

std::size_t CaselessText::nextSign(std::string_view text, std::size_t from) const {
    const auto signs = this->signs;
    const auto isSign = [&signs](char byte) {
        // All are compared: a loop without branches is done for sixteen bytes at once.
        unsigned isOne = signs.isAnyBeyondASCII ? static_cast<unsigned char>(byte) >> 7 : 0U;
        for (const char sign : signs.bytes) isOne |= byte == sign ? 1U : 0U;
        return static_cast<std::uint8_t>(isOne);
    };
    constexpr std::size_t blockSize = 64;
    auto at = from;
    for (; at + blockSize <= text.size(); at += blockSize) {
        std::uint8_t isAny = 0;
        const auto* const block = text.data() + at;
        for (std::size_t index = 0; index < blockSize; ++index) isAny |= isSign(block[index]);
        if (isAny != 0) break;
    }
    while (at < text.size() && isSign(text[at]) == 0) ++at;
    return at;
}

/// A plain search. The two rarest signs, unlike each other if there are two, are looked for first, at their
/// distance: the letters of a language share their first byte, which `find` would stop at again and again.
bool CaselessText::isInFolded(std::string_view window) const {
    const auto length = folded.size();
    // The library's is linear from there on; before, what is compared for each place is bounded.
    constexpr std::size_t longest = 256;
    if (length > longest) return memmem(window.data(), window.size(), folded.data(), length);
    if (window.size() < length) return false;
    const auto places = window.size() - length + 1;
    const auto isAt = [&](std::size_t place) {
        return std::memcmp(window.data() + place, folded.data(), length) == 0;
    };
    const char one = folded[pair[0]];
    const char other = folded[pair[1]];
    constexpr std::size_t blockSize = 64;
    std::size_t at = 0;
    for (; at + blockSize <= places; at += blockSize) {
        const auto* const ones = window.data() + at + pair[0];
        const auto* const others = window.data() + at + pair[1];
        alignas(blockSize) std::array<std::uint8_t, blockSize> hits;
        for (std::size_t index = 0; index < blockSize; ++index) {
            hits[index] = static_cast<std::uint8_t>((ones[index] == one) & (others[index] == other));
        }
        for (std::size_t index = 0; index < blockSize; index += sizeof(std::uint64_t)) {
            std::uint64_t eight = 0;
            std::memcpy(&eight, hits.data() + index, sizeof eight);
            if (eight == 0) continue;
            for (std::size_t each = index; each < index + sizeof eight; ++each) {
                if (hits[each] != 0 && isAt(at + each)) return true;
            }
        }
    }
    for (; at < places; ++at) {
        if (isAt(at)) return true;
    }
    return false;
}

bool CaselessText::isIn(std::string_view text) const {
    if (folded.empty()) return true;
    const auto size = std::max(pieceSize, folded.size());
    const bool hasASCII = rarest < folded.size();
    // What a match may have before its rarest character.
    const auto before = hasASCII ? mostForOne * rarest : 0;
    CaseFolding folding(text);
    FoldedText window;
    while (!folding.isAtEnd()) {
        // What a match that goes on may have begun with.
        window.keepLast(folded.size() - 1);
        if (!hasASCII || window.view().find(folded[rarest]) == std::string_view::npos) {
            const auto sign = nextSign(text, folding.position());
            if (sign == text.size()) return false;
            if (sign > folding.position() + before) {
                window.keepLast(0);
                folding.skipTo(sign - before);
            }
        }
        folding.fold(size, window);
        if (isInFolded(window.view())) return true;
    }
    return false;
}

}  // namespace vellumix
