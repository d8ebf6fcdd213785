#pragma once

#include <optional>

#include "platform/foundation/Data.h"

namespace vellumix {

/// Image conversion: what `NSBitmapImageRep` is used for. Any thread; blocking.
class NSBitmapImageRep {
public:
    virtual ~NSBitmapImageRep() = default;
    /// The image as PNG. Bytes that are a whole PNG come back as they are. Nothing when they can't be decoded
    /// or the image has more than `pixelLimit` pixels; memory stays bounded for any input.
    virtual std::optional<Data> pngRepresentation(const Data& encoded) = 0;

    /// 100 megapixels: 400 MB while decoding, and more than any screen or camera copy.
    static constexpr std::uint64_t pixelLimit = 100'000'000;
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
