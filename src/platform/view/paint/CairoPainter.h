#pragma once

#include "platform/view/paint/CairoImages.h"
#include "platform/view/paint/CairoShadow.h"
#include "platform/view/paint/CairoSurface.h"
#include "platform/view/paint/SymbolMasks.h"
#include "platform/view/values/Drawing.h"

namespace vellumix::view {

/// Paints drawings with cairo, in software. Edges and lines fall on whole device pixels: a line is at least
/// one pixel wide, and one of an odd width lies inside the outline that it would straddle. What no number
/// describes, or has nothing to show, is left out; nothing fails. Texts are those of `PangoTextSetter`; a
/// layout of another setter has no letters to paint. One thread at a time; keeps what it has drawn for the
/// next frame.
class CairoPainter {
public:
    /// Replaces the pixels of a region by the drawing, on a clear ground. The surface's corner is the point
    /// (0, 0); `scale` is in device pixels a point. Every push without a pop ends with the drawing, and a pop
    /// without a push does nothing.
    void paint(const DrawingList& drawing, CairoSurface& surface, double scale, const Rect& region);

private:
    friend class CairoPass;
    SymbolMasks symbols;
    CairoShadow shadows;
    CairoImages images;
};

}  // namespace vellumix::view
