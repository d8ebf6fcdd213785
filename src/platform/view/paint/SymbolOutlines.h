#pragma once

#include <cairo.h>

#include <string_view>

namespace vellumix::view {

/// Draws a symbol in a box of 24 by 24 units with the context's source, its outlines `strokeWidth` units
/// wide.
///
/// Reads the part of SVG 2 that the symbols are written in, rather than have a library for all of SVG in
/// memory: circles, rectangles, and paths (section 9.3) of straight lines, cubic curves and circular arcs,
/// filled or not as the element or its group says. A mask takes what it draws in black out of the whole
/// symbol. False for anything else, with part of the symbol drawn. One thread at a time.
bool drawSymbolOutlines(cairo_t* context, std::string_view svg, double strokeWidth);

}  // namespace vellumix::view
