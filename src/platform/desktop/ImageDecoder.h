#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/desktop/Bitmap.h"
#include "platform/foundation/bytes/Data.h"

namespace vellumix {

/// Makes pictures of image files. Any thread; blocking. Nothing for what can't be decoded, and memory stays
/// bounded for any input.
class ImageDecoder {
public:
    struct PixelSize {
        int width = 0;
        int height = 0;

        friend bool operator==(const PixelSize&, const PixelSize&) = default;
    };

    virtual ~ImageDecoder() = default;
    /// From the head of the file, without decoding the pixels. Nothing for an image that can't be decoded for
    /// its size or its format.
    virtual std::optional<PixelSize> sizeOf(const Data& encoded) = 0;
    /// With its proportions kept, so small that it just covers a box of that many pixels, and never larger
    /// than the image is; turned upright as its metadata say. Of an animated image the first picture.
    virtual std::shared_ptr<const Bitmap> decode(const Data& encoded, PixelSize box) = 0;
};

}  // namespace vellumix
