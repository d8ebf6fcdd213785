#pragma once

#include "platform/desktop/ImageDecoder.h"

namespace vellumix::linux_desktop {

/// Pictures by gdk-pixbuf, of the encodings that PixbufLoading.h lets through. The size of a TIFF is told as
/// it is stored, since its orientation comes only with its pixels.
class PixbufDecoder final : public ImageDecoder {
public:
    std::optional<PixelSize> sizeOf(const Data& encoded) override;
    /// Of a very long and thin image smaller than covers the box, so that no picture has more than
    /// about `resultLimit` pixels.
    std::shared_ptr<const Bitmap> decode(const Data& encoded, PixelSize box) override;

    /// 4 MB, but for the rounding of a side of a few pixels.
    static constexpr double resultLimit = 1024.0 * 1024.0;
};

}  // namespace vellumix::linux_desktop
