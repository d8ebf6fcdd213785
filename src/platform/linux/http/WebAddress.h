#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vellumix::linux_desktop {

/// The letters of ASCII in lower case, and the rest as it is.
std::string asciiLowercased(std::string_view text);

/// An address that a request may go to, taken apart. Stricter than RFC 3986, so that no other reader of the
/// same text finds another host in it: the host has letters, digits, hyphens and dots alone (an
/// international one is written as "xn--"), or is an IPv6 address in brackets, and there is no user in it.
struct WebAddress {
    bool isEncrypted = false;
    /// In lower case; an IPv6 address with its brackets.
    std::string host;
    std::uint16_t port = 0;
    /// Path and query, from the slash on.
    std::string target;

    /// Nothing for what is no such address, and for plain HTTP to any host but this machine: "localhost"
    /// (RFC 6761 section 6.3), 127.0.0.0/8 and ::1.
    static std::optional<WebAddress> parse(std::string_view text);
    std::string text() const;
    /// The domain "invalid", which never exists and isn't to be looked up (RFC 6761 section 6.4).
    bool isReserved() const;
    /// Scheme, host and port are the same (RFC 6454 section 5).
    bool hasOriginOf(const WebAddress& other) const {
        return isEncrypted == other.isEncrypted && host == other.host && port == other.port;
    }
};

}  // namespace vellumix::linux_desktop
