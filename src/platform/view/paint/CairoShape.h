#pragma once

#include "platform/view/paint/CairoHandles.h"
#include "platform/view/values/Drawing.h"

namespace vellumix::view {

/// Appends a shape's closed outline to the path.
void appendShape(cairo_t* context, const Rect& rect, const Shape& shape);

/// How far from a corner the outline leaves the sides of its rectangle.
double cornerExtent(const Size& size, const Shape& shape);

}  // namespace vellumix::view
