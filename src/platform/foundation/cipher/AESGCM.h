#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "platform/foundation/bytes/Data.h"

/// AES-256 in Galois/Counter Mode (NIST SP 800-38D) with a 12-byte nonce, a 16-byte tag and no associated
/// data, and the system's cryptographic randomness. By libgcrypt, which the keyring's client library
/// brings anyway; any thread.
namespace vellumix {

/// Overwrites memory in a way that the compiler keeps.
void wipe(std::span<std::uint8_t> bytes);
/// Fills with cryptographic randomness. Ends the process when the system has none: nothing safe could follow.
void fillRandom(std::span<std::uint8_t> bytes);

/// A 256-bit key. Its memory is wiped when it goes.
class SymmetricKey {
public:
    static constexpr std::size_t size = 32;

    static SymmetricKey random();
    /// Nothing unless there are exactly 32 bytes.
    static std::optional<SymmetricKey> fromRaw(ByteView bytes);

    SymmetricKey(const SymmetricKey&) = default;
    SymmetricKey& operator=(const SymmetricKey&) = default;
    ~SymmetricKey() { wipe(bytes); }

    ByteView raw() const { return bytes; }

private:
    SymmetricKey() = default;
    std::array<std::uint8_t, size> bytes{};
};

namespace aesgcm {

constexpr std::size_t nonceSize = 12;
constexpr std::size_t tagSize = 16;
/// The least size of a combined blob: that of an empty plaintext.
constexpr std::size_t overhead = nonceSize + tagSize;

enum class Error { incorrectParameterSize, authenticationFailure, cipherFailure };
/// A sentence for the log.
const char* description(Error error);

/// Enciphers one plaintext, which comes in pieces, under a fresh nonce.
class Sealing {
public:
    /// Nothing where the library refuses.
    static std::optional<Sealing> begin(const SymmetricKey& key);
    Sealing(Sealing&&) noexcept;
    ~Sealing();

    ByteView nonce() const;
    /// Writes the ciphertext of the next piece, which is as long. After an error nothing more works.
    std::optional<Error> add(ByteView piece, std::uint8_t* out);
    /// The tag of all pieces.
    std::optional<Error> finish(std::span<std::uint8_t, tagSize> tag);

private:
    struct State;
    explicit Sealing(std::unique_ptr<State> state);
    std::unique_ptr<State> state;
};

/// Deciphers a combined blob (nonce, ciphertext, tag) in place: its middle then holds the plaintext. An error
/// wipes it.
std::optional<Error> openInPlace(std::span<std::uint8_t> combined, const SymmetricKey& key);

}  // namespace aesgcm

}  // namespace vellumix
