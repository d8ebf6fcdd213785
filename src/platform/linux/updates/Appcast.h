#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/cipher/Ed25519.h"
#include "platform/foundation/coding/URL.h"
#include "platform/linux/updates/VersionNumber.h"

namespace vellumix::linux_desktop {

/// One release, as a feed announces it.
struct AppcastItem {
    VersionNumber build;
    /// For a person.
    std::string shortVersion;
    /// Absent where it runs everywhere.
    std::optional<VersionNumber> minimumSystem;
    URL url;
    /// Bytes of the file; more than 0, at most `appcast::largestFile`.
    std::uint64_t length;
    ed25519::Signature signature;
    /// Plain text without control characters but line breaks.
    std::string notes;
};

/// Releases announced by RSS 2.0; docs/updates.md has the format.
namespace appcast {

/// Bytes of a feed.
inline constexpr std::size_t largestFeed = std::size_t{1} << 20;
/// Bytes of a release, which is in memory as a whole while its signature is checked.
inline constexpr std::uint64_t largestFile = std::uint64_t{128} << 20;

/// The releases of a feed, in its order. One that lacks something, or has it in no form that can be used, is
/// left out. Nothing for what isn't well-formed XML in UTF-8, larger than `largestFeed` or deeper than 16
/// elements; no entity but XML's own five is known, and none is fetched.
std::optional<std::vector<AppcastItem>> read(ByteView feed);

}  // namespace appcast

}  // namespace vellumix::linux_desktop
