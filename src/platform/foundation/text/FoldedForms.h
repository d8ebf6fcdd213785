#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/text/Unicode.h"

namespace vellumix {

/// The composed form of the text under full case folding (Unicode Standard section 3.13, D145), by the
/// library: for texts without a run of more than `longestCombiningRun` combining characters, as it takes the
/// square of one.
std::string foldedByLibrary(std::string_view text);

/// What one character alone becomes when it is folded, for characters of two bytes and more. Filled as
/// characters come, so one thread at a time.
class FoldedForms {
public:
    struct Form {
        enum Kind : std::uint8_t {
            /// Up to that length, what is in `bytes`.
            longest = 6,
            /// Its own bytes.
            itself,
            /// More than there is room for.
            longer,
            /// It may combine with what stands before it.
            combining,
        };
        std::array<char, longest> bytes{};
        std::uint8_t kind = itself;
        /// Of a combining one that is its own form: its canonical combining class, else 0. Of any other:
        /// whether it is one character that has no decomposition, so that marks may follow it.
        std::uint8_t detail = 0;
    };

    static FoldedForms& shared();

    /// Of a well-formed character.
    const Form& of(const char* character, std::size_t length);
    /// The character that two make together, the second being a mark; U_SENTINEL where they stay two.
    std::int32_t composed(std::int32_t character, std::int32_t mark);

private:
    /// The characters that differ in their last byte only.
    using Block = std::array<Form, 64>;

    const Block& make(std::size_t number);
    static std::int32_t composedByLibrary(std::int32_t character, std::int32_t mark);

    static constexpr std::size_t blockCount = 0x110000 / 64;
    /// What was asked for lately, as the library takes ten times as long.
    struct Pair {
        std::int32_t character = 0;
        std::int32_t mark = 0;
        std::int32_t composed = 0;
    };

    std::array<const Block*, blockCount> blocks{};
    std::array<Pair, 256> pairs{};
    std::vector<std::unique_ptr<const Block>> made;
};

inline const FoldedForms::Form& FoldedForms::of(const char* character, std::size_t length) {
    const auto bits = [&](std::size_t index) { return static_cast<std::size_t>(character[index] & 0x3F); };
    std::size_t number = 0;
    if (length == 2)
        number = character[0] & 0x1FU;
    else if (length == 3)
        number = (character[0] & 0x0FU) << 6 | bits(1);
    else
        number = (character[0] & 0x07U) << 12 | bits(1) << 6 | bits(2);
    const auto* block = blocks[number];
    return (block ? *block : make(number))[bits(length - 1)];
}

inline std::int32_t FoldedForms::composed(std::int32_t character, std::int32_t mark) {
    auto& pair = pairs[static_cast<std::size_t>(character ^ mark * 13) % pairs.size()];
    if (pair.character != character || pair.mark != mark)
        pair = {character, mark, composedByLibrary(character, mark)};
    return pair.composed;
}

}  // namespace vellumix
