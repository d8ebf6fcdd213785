#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "platform/foundation/bytes/Data.h"
#include "platform/view/values/Style.h"

namespace vellumix {

/// How blocks of the list are coloured: in two colours by turns, or all in one.
enum class BlockStyle { alternate, single };
inline constexpr std::array allBlockStyles{BlockStyle::alternate, BlockStyle::single};
/// As it is stored.
std::string_view rawValue(BlockStyle style);

/// The colours that a block may have.
inline constexpr std::array<view::Color, 6> blockPalette{{
    {0.2, 0.2, 0.2},
    {0.35, 0.35, 0.35},
    {0.2, 0.3, 0.6},
    {0.1, 0.4, 0.1},
    {0.6, 0.2, 0.2},
    {0.4, 0.2, 0.6},
}};

/// The block colours of the user defaults: `appearance.blockStyle`, a string, and `appearance.colorA`,
/// `appearance.colorB` and `appearance.singleColor`, data. The program itself never writes them.
///
/// No view paints by them: the list shows cards in the colours of the theme, not blocks. They are loaded and
/// published so that what a person has stored is checked at one place, and never lost by a program that
/// doesn't know it.
struct AppearanceSettings {
    BlockStyle blockStyle = BlockStyle::alternate;
    view::Color colorA = blockPalette[0];
    view::Color colorB = blockPalette[0];
    view::Color singleColor = blockPalette[0];

    friend bool operator==(const AppearanceSettings&, const AppearanceSettings&) = default;
};

/// What is missing or can't be read is at its default. Colours come out snapped to the palette.
AppearanceSettings loadAppearanceSettings();

/// The colour in data of the user defaults: a JSON array (RFC 8259) of exactly three numbers, red, green and
/// blue in sRGB. Nothing when the data is anything else. The components may lie outside 0 to 1.
std::optional<view::Color> storedColor(const Data& data);

/// The entry of the palette that is nearest in red, green and blue, the earlier one of two that are equally
/// near; the first entry for no colour.
view::Color snappedToPalette(const std::optional<view::Color>& color);

}  // namespace vellumix
