#pragma once

#include <string>
#include <string_view>

namespace vellumix {

/// A text to look for in other texts, where upper and lower case count as the same and accents don't: default
/// caseless matching of canonically equivalent texts (Unicode Standard section 3.13, D145). Immutable; any
/// thread.
class CaselessText {
public:
    /// Valid UTF-8.
    explicit CaselessText(std::string_view text);

    /// Whether it is somewhere in the text. An empty one is in every text. Costs about what a plain search
    /// costs as far as the text is ASCII, and keeps nothing of it.
    bool isIn(std::string_view text) const;

private:
    std::string _folded;
};

}  // namespace vellumix
