#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/view/values/Style.h"

namespace vellumix::view {

/// A step of an outline, in a box of 24 by 24 units, with as many numbers.
enum class SymbolStep : std::uint8_t {
    /// x, y
    move,
    /// x, y
    line,
    /// x and y of two control points and of the end
    curve,
    /// x and y of the centre, radius, and the angles of the begin and the end in radians, clockwise
    arc,
    /// the same anticlockwise
    arcBack,
    close,
};
inline constexpr std::size_t symbolStepCount = 6;

struct SymbolOutline {
    std::span<const SymbolStep> steps;
    /// Of all steps, in their order.
    std::span<const double> numbers;
    bool isFilled = false;
    /// Taken out of all outlines that aren't; comes behind them.
    bool isCutOut = false;
};

struct SymbolEntry {
    std::string_view name;
    std::span<const SymbolOutline> outlines;
};

/// Every drawing of src/resources/symbols by the name of its file, in the names' order. Written by the build.
extern const std::span<const SymbolEntry> symbolTable;

/// Empty for a name that the set doesn't know, which is reported as missing.
std::span<const SymbolOutline> symbolOutlines(std::string_view name);

/// The width of a symbol's outlines, in units of its box. Large symbols have thinner lines, as the optical
/// sizes of a font do. `side` is that of the box, in points.
double symbolStrokeWidth(Font::Weight weight, double side);

}  // namespace vellumix::view
