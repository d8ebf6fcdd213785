#pragma once

#include <initializer_list>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/view/values/Symbols.h"

namespace vellumix::tools {

/// What the SVG file of a symbol says.
struct SymbolDrawing {
    struct Outline {
        std::vector<view::SymbolStep> steps;
        std::vector<double> numbers;
        bool isFilled = false;
        bool isCutOut = false;

        void add(view::SymbolStep step, std::initializer_list<double> of);
    };
    /// Those that are cut out come last.
    std::vector<Outline> outlines;

    /// Reads the part of SVG 2 that the symbols are written in: circles, rectangles, and paths (section 9.3)
    /// of straight lines, cubic curves and circular arcs, filled or not as the element or its group says,
    /// with a `stroke-width` of 2 at the root. A mask takes what it draws in black out of the whole symbol.
    /// Nothing for anything else.
    static std::optional<SymbolDrawing> read(std::string_view svg);
};

}  // namespace vellumix::tools
