#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/bytes/Data.h"

/// Base64 with the standard alphabet and padding (RFC 4648 section 4), without line breaks.
namespace vellumix::base64 {

constexpr std::size_t encodedSize(std::size_t size) { return (size + 2) / 3 * 4; }

std::string encode(ByteView bytes);
/// Strict: nothing for a character outside the alphabet, missing or misplaced padding, or set bits below the
/// last byte.
std::optional<Bytes> decode(std::string_view text);

/// Encodes as the inside of a JSON string, where each `/` stands as `\/`. `out` must have room for
/// `escapedSizeLimit(bytes.size())`; returns the end of what was written.
std::uint8_t* encodeEscaped(ByteView bytes, std::uint8_t* out);
constexpr std::size_t escapedSizeLimit(std::size_t size) { return 2 * encodedSize(size) + 16; }

/// Decodes the inside of a JSON string up to its closing quote, reading `\/` as `/`. Moves `text` behind the
/// quote and `out` behind what was written. `out` may point into the same memory, 12 bytes or more before the
/// text; else it must have room for `decodedSizeLimit(text.size())`. False for what `decode` refuses, any
/// other escape, or a missing quote; what was written is then of no use.
bool decodeEscaped(ByteView& text, std::uint8_t*& out);
constexpr std::size_t decodedSizeLimit(std::size_t size) { return size / 4 * 3 + 16; }

}  // namespace vellumix::base64
