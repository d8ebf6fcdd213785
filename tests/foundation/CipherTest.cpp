#include <gcrypt.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "platform/foundation/cipher/AESGCM.h"
#include "platform/foundation/cipher/Ed25519.h"
#include "platform/foundation/cipher/Ghash.h"

namespace vellumix {
namespace {

constexpr std::array<std::size_t, 12> pieceSizes{1, 15, 16, 17, 0, 3, 31, 32, 33, 100, 1000, 4096};

/// Seals a text in uneven pieces and opens it again by the library's own mode; the number of texts of which
/// that failed.
int failures() {
    const auto key = SymmetricKey::random();
    int failed = 0;
    for (std::size_t count = 0; count <= pieceSizes.size(); ++count) {
        Bytes text;
        for (std::size_t at = 0; at < count; ++at) text.resize(text.size() + pieceSizes[at], 'a');
        for (std::size_t at = 0; at < text.size(); ++at) text[at] = static_cast<std::uint8_t>(at * 7);
        Bytes blob(text.size() + aesgcm::overhead);
        auto sealing = aesgcm::Sealing::begin(key);
        if (!sealing) return -1;
        std::ranges::copy(sealing->nonce(), blob.begin());
        std::size_t done = 0;
        for (std::size_t at = 0; at < count; ++at) {
            const auto piece = ByteView(text).subspan(done, pieceSizes[at]);
            if (sealing->add(piece, blob.data() + aesgcm::nonceSize + done)) return -1;
            done += piece.size();
        }
        if (sealing->finish(std::span(blob).last<aesgcm::tagSize>())) return -1;
        auto flipped = blob;
        flipped[blob.size() / 2] ^= 1;
        const bool isOpen = !aesgcm::openInPlace(blob, key);
        const auto opened = ByteView(blob).subspan(aesgcm::nonceSize, text.size());
        if (!isOpen || !sameBytes(opened, text) || !aesgcm::openInPlace(flipped, key)) ++failed;
    }
    return failed;
}

TEST(Cipher, WhatIsSealedOpensByTheLibraryInEveryMode) {
    EXPECT_EQ(failures(), 0);
    // The mode is chosen once for a process, so that this one is another's.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ::setenv("LIBGCRYPT_FORCE_FIPS_MODE", "1", 1);
    EXPECT_EXIT(std::exit(failures() == 0 && gcry_fips_mode_active() ? 0 : 1), testing::ExitedWithCode(0),
                "");
    ::unsetenv("LIBGCRYPT_FORCE_FIPS_MODE");
}

TEST(Ed25519, WhatIsSignedIsJustThatMessage) {
    // RFC 8032 section 7.1, the test of two bytes; and 200,000 zeros, signed by OpenSSL.
    const Bytes zeros(200'000, 0);
    const struct {
        const char* key;
        Bytes message;
        const char* signature;
    } signings[] = {
        {"/FHNjmIYoaONpH7QAjDwWAgW7RO6MwOsXeuRFUiQgCU=",
         {0xaf, 0x82},
         "YpHWV97sJAJIJ+acOr4BowzlSKKEdDpEXjaA19taw6wY/5tTjRbykK5n92CYTcZZSnwV6XFu0o3AJ77O6h7ECg=="},
        {"IzGy1Z1snIDNX58cErzXkEWNbzOJYezrj7OMHKurnck=", zeros,
         "bHu4HLU6RDmmFPJsm6zfdoZe/bSn0wI5E/1BoNbW1pUMZEUvY894lak58h0CMBo9KAuBbRrlcES2dn2Ak6RVBg=="},
    };
    for (const auto& each : signings) {
        const auto key = *ed25519::publicKeyOf(each.key);
        const auto signature = *ed25519::signatureOf(each.signature);
        EXPECT_TRUE(ed25519::isSignedBy(key, each.message, signature));
        EXPECT_FALSE(ed25519::isSignedBy(key, ByteView(each.message).first(1), signature));
        auto other = each.message;
        other.back() ^= 1;
        EXPECT_FALSE(ed25519::isSignedBy(key, other, signature)) << "beyond any first part of it";
        for (std::size_t at = 0; at < signature.size(); ++at) {
            auto changed = signature;
            changed[at] ^= 0x20;
            EXPECT_FALSE(ed25519::isSignedBy(key, each.message, changed)) << at;
        }
        for (std::size_t at = 0; at < key.size(); ++at) {
            auto changed = key;
            changed[at] ^= 0x10;
            EXPECT_FALSE(ed25519::isSignedBy(changed, each.message, signature)) << at;
        }
    }
    // The same with the order of the curve added to its second half.
    const auto again = ed25519::signatureOf(
        "YpHWV97sJAJIJ+acOr4BowzlSKKEdDpEXjaA19taw6wF05Gwp3kE6YQE7wN3R6VuSnwV6XFu0o3AJ77O6h7EGg==");
    EXPECT_FALSE(ed25519::isSignedBy(*ed25519::publicKeyOf(signings[0].key), signings[0].message, *again));
    EXPECT_FALSE(ed25519::publicKeyOf("AAAA"));
    EXPECT_FALSE(ed25519::signatureOf(signings[0].key));
}

TEST(Ghash, IsTheStandardsOwn) {
    // The second case of the mode's original specification (McGrew and Viega, appendix B).
    const Ghash::Block subkey{0x66, 0xe9, 0x4b, 0xd4, 0xef, 0x8a, 0x2c, 0x3b,
                              0x88, 0x4c, 0xfa, 0x59, 0xca, 0x34, 0x2b, 0x2e};
    const Ghash::Block text{0x03, 0x88, 0xda, 0xce, 0x60, 0xb6, 0xa3, 0x92,
                            0xf3, 0x28, 0xc2, 0xb9, 0x71, 0xb2, 0xfe, 0x78};
    const Ghash::Block expected{0xf3, 0x8c, 0xbb, 0x1a, 0xd6, 0x92, 0x23, 0xdc,
                                0xc3, 0x45, 0x7a, 0xe5, 0xb6, 0xb0, 0xf8, 0x85};
    Ghash whole(subkey);
    whole.add(text);
    EXPECT_EQ(whole.finish(), expected);
    Ghash pieces(subkey);
    pieces.add(ByteView(text).first(5));
    pieces.add(ByteView(text).subspan(5));
    EXPECT_EQ(pieces.finish(), expected);
    EXPECT_EQ(Ghash(subkey).finish(), Ghash::Block{});
}

}  // namespace
}  // namespace vellumix
