#include "platform/foundation/cipher/Ed25519.h"

#include <algorithm>

#include "platform/foundation/bytes/Base64.h"
#include "platform/foundation/cipher/GcryptHandles.h"

namespace vellumix::ed25519 {

namespace {

template <class Value>
std::optional<Value> decoded(std::string_view text) {
    Value value;
    const auto bytes = base64::decode(text);
    if (!bytes || bytes->size() != value.size()) return std::nullopt;
    std::ranges::copy(*bytes, value.begin());
    return value;
}

gcrypt::Context makeCurve() {
    gcry_ctx_t made = nullptr;
    return gcrypt::Context(gcry_mpi_ec_new(&made, nullptr, "Ed25519") ? nullptr : made);
}

/// Null where the bytes are no point.
gcrypt::Point pointOf(ByteView encoded, gcry_context& curve) {
    constexpr unsigned bitsOfByte = 8;
    const gcrypt::Integer bytes(gcry_mpi_set_opaque_copy(nullptr, encoded.data(),
                                                         bitsOfByte * static_cast<unsigned>(encoded.size())));
    gcrypt::Point point(gcry_mpi_point_new(0));
    return gcry_mpi_ec_decode_point(point.get(), bytes.get(), &curve) ? nullptr : std::move(point);
}

/// Least byte first, as everything of this standard.
gcrypt::Integer integerOf(ByteView bytes) {
    const std::vector<std::uint8_t> greatestFirst(bytes.rbegin(), bytes.rend());
    gcry_mpi_t number = nullptr;
    if (gcry_mpi_scan(&number, GCRYMPI_FMT_USG, greatestFirst.data(), greatestFirst.size(), nullptr))
        return nullptr;
    return gcrypt::Integer(number);
}

/// SHA-512 of the parts, one behind the other.
std::optional<std::array<std::uint8_t, 64>> hashOf(const std::array<ByteView, 3>& parts) {
    std::array<std::uint8_t, 64> digest{};
    std::array<gcry_buffer_t, 3> buffers{};
    for (std::size_t at = 0; at < parts.size(); ++at) {
        // The library only reads it.
        buffers[at].data = const_cast<std::uint8_t*>(parts[at].data());
        buffers[at].size = buffers[at].len = parts[at].size();
    }
    if (gcry_md_hash_buffers(GCRY_MD_SHA512, 0, digest.data(), buffers.data(),
                             static_cast<int>(buffers.size())))
        return std::nullopt;
    return digest;
}

bool isPoint(gcry_mpi_point& point, ByteView encoded, gcry_context& curve) {
    if (gcry_mpi_ec_set_point("q", &point, &curve)) return false;
    const gcrypt::Integer bytes(gcry_mpi_ec_get_mpi("q@eddsa", &curve, 1));
    unsigned bits = 0;
    const auto* const data =
        bytes ? static_cast<const std::uint8_t*>(gcry_mpi_get_opaque(bytes.get(), &bits)) : nullptr;
    return data && sameBytes({data, (bits + 7) / 8}, encoded);
}

}  // namespace

std::optional<PublicKey> publicKeyOf(std::string_view base64) { return decoded<PublicKey>(base64); }
std::optional<Signature> signatureOf(std::string_view base64) { return decoded<Signature>(base64); }

// The library's own call for it takes a message of at most 64 KB, the size of a value in its expressions.
bool isSignedBy(const PublicKey& key, ByteView message, const Signature& signature) {
    if (!gcrypt::prepareLibrary()) return false;
    const auto commitment = ByteView(signature).first(32);
    const auto curve = makeCurve();
    if (!curve) return false;
    const auto signer = pointOf(key, *curve);
    const auto response = integerOf(ByteView(signature).last(32));
    const auto digest = hashOf({commitment, key, message});
    const gcrypt::Integer order(gcry_mpi_ec_get_mpi("n", curve.get(), 1));
    const gcrypt::Point base(gcry_mpi_ec_get_point("g", curve.get(), 1));
    // A larger response would be a second signature of the same message.
    if (!signer || !response || !digest || !order || !base || gcry_mpi_cmp(response.get(), order.get()) >= 0)
        return false;
    const auto challenge = integerOf(*digest);
    if (!challenge) return false;
    gcry_mpi_mod(challenge.get(), challenge.get(), order.get());
    const gcrypt::Point left(gcry_mpi_point_new(0));
    const gcrypt::Point right(gcry_mpi_point_new(0));
    gcry_mpi_ec_mul(left.get(), response.get(), base.get(), curve.get());
    gcry_mpi_ec_mul(right.get(), challenge.get(), signer.get(), curve.get());
    gcry_mpi_ec_sub(left.get(), left.get(), right.get(), curve.get());
    return isPoint(*left, commitment, *curve);
}

}  // namespace vellumix::ed25519
