#include "shell/settings/AppearanceSettings.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "platform/foundation/coding/Json.h"
#include "platform/foundation/files/UserDefaults.h"

namespace vellumix {

namespace {

view::Color loadColor(std::string_view key) {
    const auto data = UserDefaults::standard().value<Data>(key);
    return snappedToPalette(data ? storedColor(*data) : std::nullopt);
}

/// Distances that differ by less are equal but for the rounding of their decimal fractions.
constexpr double rounding = 1e-12;

double squaredDistance(const view::Color& a, const view::Color& b) {
    const auto red = a.red - b.red, green = a.green - b.green, blue = a.blue - b.blue;
    return red * red + green * green + blue * blue;
}

}  // namespace

std::string_view rawValue(BlockStyle style) { return style == BlockStyle::single ? "single" : "alternate"; }

AppearanceSettings loadAppearanceSettings() {
    const auto stored = UserDefaults::standard().value<std::string>("appearance.blockStyle");
    const auto* const style = std::ranges::find_if(
        allBlockStyles, [&](BlockStyle each) { return stored == std::string(rawValue(each)); });
    return {
        .blockStyle = style == allBlockStyles.end() ? BlockStyle::alternate : *style,
        .colorA = loadColor("appearance.colorA"),
        .colorB = loadColor("appearance.colorB"),
        .singleColor = loadColor("appearance.singleColor"),
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
