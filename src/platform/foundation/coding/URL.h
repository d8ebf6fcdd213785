#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/text/String.h"

namespace vellumix {

/// A resource identifier, kept as it was written (RFC 3986 section 3, with the characters of RFC 3987).
class URL {
public:
    /// Reads a URI or a relative reference. Nothing for an empty string, white space or a control character
    /// anywhere, one of `<`, `>`, `"`, a `%` without two hex digits, a colon in the first segment of a
    /// relative reference, or a port that is no number. Brackets, braces, bars and backslashes pass, as they
    /// stand raw in many addresses that browsers hand out.
    static std::optional<URL> parse(std::string_view text);
    /// The file URL of an absolute path given as bytes; whatever RFC 3986 reserves is percent-encoded.
    static URL file(std::string_view path);

    std::string_view absoluteString() const { return text.view(); }
    /// As written, without the colon; empty for a relative reference.
    std::string_view scheme() const { return text.view().substr(0, schemeSize); }
    /// The scheme is "file", whatever its case, and the path could be one of a file: without a NUL
    /// (POSIX.1-2017 section 3.170).
    bool isFile() const;
    /// The path, percent-decoded, without a trailing slash unless it is the root.
    std::string path() const;
    /// The last component of `path()`; "/" for the root.
    std::string lastPathComponent() const;

    friend bool operator==(const URL& a, const URL& b) { return a.text == b.text; }

private:
    explicit URL(String text, std::size_t schemeSize) : text(std::move(text)), schemeSize(schemeSize) {}

    String text;
    std::size_t schemeSize = 0;
};

/// Replaces each percent sequence by its byte (RFC 3986 section 2.1); nothing when one is malformed.
std::optional<std::string> percentDecoded(std::string_view text);
/// Percent-encodes every byte for which `isAllowed` is false.
std::string percentEncoded(std::string_view text, bool (*isAllowed)(unsigned char));
/// The characters that may stand raw in a query (RFC 3986 section 3.4).
bool isAllowedInQuery(unsigned char c);

}  // namespace vellumix
