#include "shell/settings/AppearanceSettings.h"

#include <limits>
#include <string>
#include <vector>

#include "platform/foundation/coding/Json.h"
#include "platform/foundation/files/Setting.h"

namespace vellumix {

namespace {

/// As the data of a colour, which is told from its nearest neighbour in the palette.
struct AsPaletteColor {
    static std::optional<view::Color> load(std::string_view key, const UserDefaults& defaults) {
        const auto data = defaults.value<Data>(key);
        const auto color = data ? storedColor(*data) : std::nullopt;
        return color ? std::optional(snappedToPalette(color)) : std::nullopt;
    }
};

const Setting<BlockStyle, AsName<allBlockStyles>> blockStyleSetting("appearance.blockStyle",
                                                                    BlockStyle::alternate);
const Setting<view::Color, AsPaletteColor> colorASetting("appearance.colorA", blockPalette[0]);
const Setting<view::Color, AsPaletteColor> colorBSetting("appearance.colorB", blockPalette[0]);
const Setting<view::Color, AsPaletteColor> singleColorSetting("appearance.singleColor", blockPalette[0]);

/// Distances that differ by less are equal but for the rounding of their decimal fractions.
constexpr double rounding = 1e-12;

double squaredDistance(const view::Color& a, const view::Color& b) {
    const auto red = a.red - b.red, green = a.green - b.green, blue = a.blue - b.blue;
    return red * red + green * green + blue * blue;
}

}  // namespace

std::string_view rawValue(BlockStyle style) { return style == BlockStyle::single ? "single" : "alternate"; }

AppearanceSettings loadAppearanceSettings() {
    return {
        .blockStyle = blockStyleSetting.get(),
        .colorA = colorASetting.get(),
        .colorB = colorBSetting.get(),
        .singleColor = singleColorSetting.get(),
    };
}

std::optional<view::Color> storedColor(const Data& data) {
    JsonReader reader(data);
    std::vector<double> components;
    const bool isArray = reader.array([&] { return reader.number(components.emplace_back()); });
    if (!isArray || !reader.end() || components.size() != 3) return std::nullopt;
    return view::Color{components[0], components[1], components[2]};
}

view::Color snappedToPalette(const std::optional<view::Color>& color) {
    auto nearest = blockPalette[0];
    if (!color) return nearest;
    auto smallest = std::numeric_limits<double>::infinity();
    for (const auto& entry : blockPalette) {
        const auto distance = squaredDistance(*color, entry);
        if (distance >= smallest - rounding) continue;
        smallest = distance;
        nearest = entry;
    }
    return nearest;
}

}  // namespace vellumix
