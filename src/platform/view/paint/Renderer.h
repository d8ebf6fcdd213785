#pragma once

#include <memory>

#include "platform/desktop/Window.h"
#include "platform/foundation/observation/Observation.h"
#include "platform/view/values/Drawing.h"
#include "platform/view/values/TextLayout.h"

namespace vellumix::view {

class CairoPainter;

/// What all windows draw with: one setter of texts and one painter, and what these remember; of texts no
/// longer than `RememberedTexts` allows. Main thread only.
class Renderer {
public:
    /// That of the platform in force.
    static Renderer& shared();

    Renderer();
    ~Renderer();

    /// Sets texts in the fonts of the platform in force, unless it was given another setter.
    TextSetter& texts();
    /// Before the first window: each keeps the setter that it was made with.
    void setTexts(std::unique_ptr<TextSetter> texts) { texts_ = std::move(texts); }
    /// Replaces all pixels by the drawing; `scale` is in device pixels a point.
    void paint(const DrawingList& drawing, const PixelBuffer& pixels, double scale);

private:
    std::unique_ptr<TextSetter> texts_;
    std::unique_ptr<CairoPainter> painter;
    Observation forgetting;
};

}  // namespace vellumix::view
