#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace vellumix {

/// A text to look for in other texts, where upper and lower case count as the same and accents don't: default
/// caseless matching of canonically equivalent texts (Unicode Standard section 3.13, D145). Immutable; one
/// thread at a time.
class CaselessText {
public:
    /// Valid UTF-8.
    explicit CaselessText(std::string_view text);

    /// Whether it is somewhere in the text. An empty one is in every text. Linear in the text, whatever it
    /// holds: its characters are only folded near those that could be the rarest one of the text that is
    /// looked for. Nothing is kept of it.
    bool isIn(std::string_view text) const;

private:
    /// The bytes of which a text has one wherever it holds the rarest character of this one.
    struct Signs {
        std::array<char, 6> bytes{};
        /// Any byte beyond ASCII, where this text has no character of ASCII.
        bool isAnyBeyondASCII = false;
    };

    void chooseSigns();
    std::size_t nextSign(std::string_view text, std::size_t from) const;
    bool isInFolded(std::string_view window) const;

    std::string folded;
    Signs signs;
    /// Where the rarest character is in it; the end where it isn't one of ASCII.
    std::size_t rarest = 0;
    /// Where two signs are of which a text has few at that distance.
    std::array<std::size_t, 2> pair{};
};

}  // namespace vellumix
