#pragma once

#include "platform/desktop/BitmapImageRep.h"

namespace vellumix::linux_desktop {

/// Image conversion by gdk-pixbuf, of the encodings that programs put on a clipboard: PNG, JPEG, TIFF, BMP,
/// GIF and WebP, told by their first bytes. Other loaders that happen to be installed aren't given bytes of
/// strangers.
///
/// Pixels keep their number, order and transparency; orientation tags aren't applied. Of an animation the
/// first picture counts.
class PixbufImages final : public NSBitmapImageRep {
public:
    std::optional<Data> pngRepresentation(const Data& encoded) override;
};

}  // namespace vellumix::linux_desktop
