#pragma once

#include "platform/desktop/BitmapImageRep.h"

namespace vellumix::linux_desktop {

/// Image conversion by gdk-pixbuf, of the encodings that PixbufLoading.h lets through.
///
/// Pixels keep their number, order and transparency; orientation tags aren't applied. Of an animation the
/// first picture counts.
class PixbufImages final : public NSBitmapImageRep {
public:
    std::optional<Data> pngRepresentation(const Data& encoded) override;
};

}  // namespace vellumix::linux_desktop
