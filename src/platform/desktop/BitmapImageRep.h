#pragma once

#include <optional>

#include "platform/foundation/bytes/Data.h"

namespace vellumix {

/// Image conversion: what `NSBitmapImageRep` is used for. Any thread; blocking.
class NSBitmapImageRep {
public:
    virtual ~NSBitmapImageRep() = default;
    /// The image as PNG. Bytes that are a whole PNG come back as they are. Nothing when they can't be decoded
    /// or the image has more pixels than `isWithinPixelLimit` allows; memory and time stay bounded for any
    /// input.
    virtual std::optional<Data> pngRepresentation(const Data& encoded) = 0;

    /// 70 megapixels: 280 MB while decoding. A screen of 8K has 33, a camera 61, and a photo of more is
    /// larger as PNG than an entry may be.
    static constexpr std::uint64_t pixelLimit = 70'000'000;
    /// The most pixels that a byte of an image can stand for: Deflate (RFC 1951) makes at most 1032 bytes of
    /// one, and each of those is eight pixels of one bit. What claims more was made to fill the memory.
    static constexpr std::uint64_t pixelsPerByte = 8 * 1032;
    /// Told from the head of an image of `byteCount` bytes, before memory is taken for its pixels.
    static constexpr bool isWithinPixelLimit(std::uint64_t width, std::uint64_t height,
                                             std::uint64_t byteCount) {
        return width > 0 && height > 0 && height <= pixelLimit / width &&
               width * height / pixelsPerByte <= byteCount;
    }
};

/// In pixels; both above 0.
struct PNGSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};
/// From the first chunk of a PNG (W3C PNG third edition, section 11.2.1), whatever follows it. Nothing for
/// other bytes.
std::optional<PNGSize> pngSize(ByteView bytes);

/// True for a complete PNG (W3C PNG third edition, section 5): signature, a first IHDR, chunks with matching
/// CRCs, at least one IDAT, and IEND at the end. The pixels aren't decoded.
bool isCompletePNG(ByteView bytes);

}  // namespace vellumix
