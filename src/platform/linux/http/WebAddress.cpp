#include "platform/linux/http/WebAddress.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>

namespace vellumix::linux_desktop {

namespace {

constexpr std::uint16_t plainPort = 80, encryptedPort = 443;
/// Of a host's name (RFC 1035 section 2.3.4).
constexpr std::size_t longestHost = 255;
constexpr std::size_t longestAddress = 8192;

bool isLetterOrDigit(char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); }

bool takePrefix(std::string_view& text, std::string_view prefix) {
    if (asciiLowercased(text.substr(0, prefix.size())) != prefix) return false;
    text.remove_prefix(prefix.size());
    return true;
}

bool isHost(const std::string& host) {
    if (host.empty() || host.size() > longestHost) return false;
    if (host.front() == '[') {
        in6_addr address;
        return host.back() == ']' &&
               ::inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &address) == 1;
    }
    return host.front() != '.' && host.find("..") == std::string::npos &&
           std::ranges::all_of(host, [](char c) { return isLetterOrDigit(c) || c == '-' || c == '.'; });
}

bool isThisMachine(const std::string& host) {
    in_addr address;
    if (::inet_pton(AF_INET, host.c_str(), &address) == 1) return ntohl(address.s_addr) >> 24 == 127;
    return host == "localhost" || host == "[::1]";
}

}  // namespace

std::string asciiLowercased(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

std::optional<WebAddress> WebAddress::parse(std::string_view text) {
    const auto isPlainCharacter = [](char c) { return c > ' ' && c != '\\' && c != 0x7F; };
    if (text.size() > longestAddress || !std::ranges::all_of(text, isPlainCharacter)) return std::nullopt;
    WebAddress address;
    address.isEncrypted = takePrefix(text, "https://");
    if (!address.isEncrypted && !takePrefix(text, "http://")) return std::nullopt;
    // What stands behind a number sign is for the reader of the answer.
    text = text.substr(0, text.find('#'));
    const auto authority = text.substr(0, text.find_first_of("/?"));
    text.remove_prefix(authority.size());
    address.target = (text.starts_with('/') ? "" : "/") + std::string(text);

    const auto hostEnd = authority.starts_with('[') ? authority.find(']') + 1 : authority.find(':');
    address.host = asciiLowercased(authority.substr(0, hostEnd));
    if (!isHost(address.host)) return std::nullopt;
    auto port = hostEnd < authority.size() ? authority.substr(hostEnd) : std::string_view();
    address.port = address.isEncrypted ? encryptedPort : plainPort;
    if (!port.empty()) {
        port.remove_prefix(1);
        const auto* const end = port.data() + port.size();
        const auto read = std::from_chars(port.data(), end, address.port);
        if (authority[hostEnd] != ':' || read.ec != std::errc() || read.ptr != end || address.port == 0)
            return std::nullopt;
    }
    if (!address.isEncrypted && !isThisMachine(address.host)) return std::nullopt;
    return address;
}

std::string WebAddress::text() const {
    return (isEncrypted ? "https://" : "http://") + host + ":" + std::to_string(port) + target;
}

bool WebAddress::isReserved() const {
    auto name = std::string_view(host);
    if (name.ends_with('.')) name.remove_suffix(1);
    return name == "invalid" || name.ends_with(".invalid");
}

}  // namespace vellumix::linux_desktop
