#include "platform/desktop/BitmapImageRep.h"

#include <zlib.h>

#include <array>
#include <cstring>

namespace vellumix {

namespace {

constexpr std::array<std::uint8_t, 8> signature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
/// Length, type and CRC.
constexpr std::size_t chunkFrame = 12;

std::uint32_t bigEndian(ByteView bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
           bytes[3];
}

constexpr std::string_view headerType = "IHDR";
/// Width, height, depth, colour type, compression, filter and interlace of PNG section 11.2.1.
constexpr std::size_t headerSize = 13;

}  // namespace

std::optional<PNGSize> pngSize(ByteView bytes) {
    if (bytes.size() < signature.size() + chunkFrame + headerSize) return std::nullopt;
    if (!sameBytes(bytes.first(signature.size()), signature)) return std::nullopt;
    const auto chunk = bytes.subspan(signature.size());
    if (bigEndian(chunk) != headerSize || asText(chunk.subspan(4, 4)) != headerType) return std::nullopt;
    const PNGSize size{.width = bigEndian(chunk.subspan(8)), .height = bigEndian(chunk.subspan(12))};
    return size.width > 0 && size.height > 0 ? std::optional(size) : std::nullopt;
}

bool isCompletePNG(ByteView bytes) {
    if (!pngSize(bytes)) return false;
    bytes = bytes.subspan(signature.size());
    bool hasPixels = false;
    while (bytes.size() >= chunkFrame) {
        const std::size_t size = bigEndian(bytes);
        if (size > bytes.size() - chunkFrame) return false;
        const auto typed = bytes.subspan(4, size + 4);
        const auto type = asText(typed.first(4));
        if (crc32(0, typed.data(), static_cast<uInt>(typed.size())) != bigEndian(bytes.subspan(size + 8)))
            return false;
        bytes = bytes.subspan(size + chunkFrame);
        if (type == "IDAT") hasPixels = true;
        if (type == "IEND") return hasPixels && bytes.empty();
    }
    return false;
}

}  // namespace vellumix
