#include "platform/foundation/coding/URL.h"

#include <algorithm>
#include <cstdint>

#include "platform/foundation/bytes/HexDigit.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {

bool isAlpha(unsigned char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(unsigned char c) { return c >= '0' && c <= '9'; }
bool isUnreserved(unsigned char c) {
    return isAlpha(c) || isDigit(c) || c == '-' || c == '.' || c == '_' || c == '~';
}
bool isSubDelimiter(unsigned char c) {
    return std::string_view("!$&'()*+,;=").find(static_cast<char>(c)) != std::string_view::npos;
}
bool isAllowedInPath(unsigned char c) {
    return isUnreserved(c) || isSubDelimiter(c) || c == ':' || c == '@' || c == '/';
}

bool isPercentSequence(std::string_view text, std::size_t at) {
    return at + 2 < text.size() && hexDigit(text[at + 1]) >= 0 && hexDigit(text[at + 2]) >= 0;
}

bool isSchemeCharacter(unsigned char c) {
    return isAlpha(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
}

bool hasOnlyURLCharacters(std::string_view text) {
    // White space first: a text of megabytes that is no address has some near its beginning.
    if (containsWhitespace(text) || !isValidUTF8(text)) return false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto c = static_cast<unsigned char>(text[at]);
        if (c < 0x20 || c == 0x7F || c == '<' || c == '>' || c == '"') return false;
        if (c == '%' && !isPercentSequence(text, at)) return false;
    }
    return true;
}

/// Parts of a reference after its scheme, as byte ranges (RFC 3986 appendix B).
struct Parts {
    std::string_view authority;
    std::string_view path;
};

Parts split(std::string_view rest) {
    Parts parts;
    rest = rest.substr(0, rest.find_first_of("?#"));
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const auto end = std::min(rest.find('/'), rest.size());
        parts.authority = rest.substr(0, end);
        rest.remove_prefix(end);
    }
    parts.path = rest;
    return parts;
}

bool hasNumericPort(std::string_view authority) {
    const auto host =
        authority.substr(authority.find('@') == std::string_view::npos ? 0 : authority.rfind('@') + 1);
    const auto bracket = host.rfind(']');
    const auto colon = host.find(':', bracket == std::string_view::npos ? 0 : bracket);
    return colon == std::string_view::npos ||
           std::all_of(host.begin() + static_cast<std::ptrdiff_t>(colon) + 1, host.end(), isDigit);
}

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
    if (text.empty() || !hasOnlyURLCharacters(text)) return std::nullopt;
    std::size_t schemeSize = 0;
    const auto colon = text.find_first_of(":/?#");
    if (colon != std::string_view::npos && text[colon] == ':') {
        const auto scheme = text.substr(0, colon);
        const bool wellFormed = !scheme.empty() && isAlpha(static_cast<unsigned char>(scheme[0])) &&
                                std::all_of(scheme.begin(), scheme.end(), isSchemeCharacter);
        if (!wellFormed) return std::nullopt;
        schemeSize = colon;
    }
    const auto parts = split(text.substr(schemeSize ? schemeSize + 1 : 0));
    if (!hasNumericPort(parts.authority)) return std::nullopt;
    return URL(String(text), schemeSize);
}

URL URL::file(std::string_view path) {
    return URL(String("file://" + percentEncoded(path, isAllowedInPath)), 4);
}

bool URL::isFile() const {
    const auto name = scheme();
    const bool hasScheme = name.size() == 4 && std::equal(name.begin(), name.end(), "file",
                                                          [](char a, char b) { return (a | 0x20) == b; });
    return hasScheme &&
           split(absoluteString().substr(schemeSize + 1)).path.find("%00") == std::string_view::npos;
}

std::string URL::path() const {
    const auto parts = split(absoluteString().substr(schemeSize ? schemeSize + 1 : 0));
    auto decoded = percentDecoded(parts.path).value_or(std::string());
    while (decoded.size() > 1 && decoded.back() == '/') decoded.pop_back();
    return decoded;
}

std::string URL::lastPathComponent() const {
    auto whole = path();
    if (whole == "/") return whole;
    return whole.substr(whole.rfind('/') + 1);
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded += text[at];
            continue;
        }
        if (!isPercentSequence(text, at)) return std::nullopt;
        decoded += static_cast<char>(hexDigit(text[at + 1]) << 4 | hexDigit(text[at + 2]));
        at += 2;
    }
    return decoded;
}

std::string percentEncoded(std::string_view text, bool (*isAllowed)(unsigned char)) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size());
    for (const char raw : text) {
        const auto c = static_cast<unsigned char>(raw);
        if (isAllowed(c)) {
            encoded += raw;
        } else {
            encoded += '%';
            encoded += digits[c >> 4];
            encoded += digits[c & 0x0F];
        }
    }
    return encoded;
}

bool isAllowedInQuery(unsigned char c) { return isAllowedInPath(c) || c == '?'; }

}  // namespace vellumix
