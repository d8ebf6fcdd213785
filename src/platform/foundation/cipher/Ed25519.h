#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/foundation/bytes/Data.h"

/// Signatures by Ed25519 (RFC 8032 section 5.1), by libgcrypt; any thread.
namespace vellumix::ed25519 {

using PublicKey = std::array<std::uint8_t, 32>;
using Signature = std::array<std::uint8_t, 64>;

/// Of the padded Base64 of exactly that many bytes; else nothing.
std::optional<PublicKey> publicKeyOf(std::string_view base64);
std::optional<Signature> signatureOf(std::string_view base64);

/// Whether the holder of the key has signed just this message (section 5.1.7). False, too, where the library
/// refuses, as it does where only approved modes are allowed. Linear in the message, which isn't copied.
bool isSignedBy(const PublicKey& key, ByteView message, const Signature& signature);

}  // namespace vellumix::ed25519
