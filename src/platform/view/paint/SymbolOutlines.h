#pragma once

#include <cairo.h>

#include <span>

#include "platform/view/values/Symbols.h"

namespace vellumix::view {

/// Draws a symbol in a box of 24 by 24 units with the context's source, its outlines `strokeWidth` units
/// wide. One thread at a time.
void drawSymbolOutlines(cairo_t* context, std::span<const SymbolOutline> outlines, double strokeWidth);

}  // namespace vellumix::view
