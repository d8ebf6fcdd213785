#pragma once

#include <span>
#include <string_view>

namespace vellumix::view {

/// The drawings of src/resources/symbols, written into the program by the build.
struct SymbolSource {
    /// The file's name without its ending.
    std::string_view file;
    /// SVG 2, a box of 24 by 24 with outlines of width 2 in the current colour.
    std::string_view svg;
};
extern const std::span<const SymbolSource> symbolSources;

}  // namespace vellumix::view
