#include "platform/view/paint/Renderer.h"

#include "platform/desktop/Platform.h"
#include "platform/foundation/text/RememberedTexts.h"
#include "platform/view/paint/CairoPainter.h"
#include "platform/view/paint/PangoTextSetter.h"

namespace vellumix::view {

Renderer& Renderer::shared() { return SharedInstances::current().get<Renderer>(); }

Renderer::Renderer()
    : painter(std::make_unique<CairoPainter>()), forgetting(RememberedTexts::shared().onForget([this] {
          if (texts_) texts_->forget();
      })) {}
Renderer::~Renderer() = default;

TextSetter& Renderer::texts() {
    if (!texts_) texts_ = std::make_unique<PangoTextSetter>(platform::current().fontFamilies);
    return *texts_;
}

void Renderer::paint(const DrawingList& drawing, const PixelBuffer& pixels, double scale) {
    CairoSurface surface(pixels.memory, pixels.width, pixels.height, pixels.stride);
    painter->paint(drawing, surface, scale, {{}, {pixels.width / scale, pixels.height / scale}});
}

}  // namespace vellumix::view
