#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "platform/view/values/Style.h"

namespace vellumix::view {

/// One symbol: the name by which views ask for it, and the drawing that stands for it.
struct SymbolEntry {
    std::string_view name;
    std::string_view file;
};
/// All symbols, sorted by name.
std::span<const SymbolEntry> symbolTable();

/// The SVG drawing of a symbol; nothing for a name that the set doesn't know.
std::optional<std::string_view> symbolDrawing(std::string_view name);

/// The width of a symbol's outlines, in units of its 24 by 24 box. Large symbols have thinner lines, as the
/// optical sizes of a font do. `side` is that of the box, in points.
double symbolStrokeWidth(Font::Weight weight, double side);

}  // namespace vellumix::view
