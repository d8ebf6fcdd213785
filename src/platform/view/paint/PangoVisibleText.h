#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/view/values/TextLayout.h"

namespace vellumix::view {

/// The beginning of a text that a layout can show at most, so that no more is shaped. Every byte stands where
/// it stood in the text.
struct VisibleText {
    /// Valid UTF-8, without control characters: a blank stands for each.
    std::string text;
    std::size_t characterCount = 0;
    /// Something that would show was left out behind the end.
    bool isCut = false;
    /// It was, for the number of its letters, so that narrower ones could have shown more.
    bool isCutByLetters = false;
};

/// What is shown of a text without a line limit, in characters. Nobody reads more in a panel, and each
/// thousand of them costs a millisecond.
inline constexpr std::size_t longestText = 20'000;

/// The mean width of letters, in parts of the font's size: what those of any language stay above, and what
/// not even a line of full stops falls below.
inline constexpr double usualLetters = 0.4;
inline constexpr double narrowestLetters = 0.15;

/// Cut behind the lines of the limit, or where letters of that mean width would have filled them, at a
/// grapheme boundary (Unicode Standard Annex 29, section 3).
VisibleText visibleText(std::string_view text, const TextOptions& options, double letters);

}  // namespace vellumix::view
