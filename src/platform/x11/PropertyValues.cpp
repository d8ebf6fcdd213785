#include "platform/x11/PropertyValues.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unordered_set>

#include "platform/foundation/Unicode.h"

namespace vellumix::x11 {

namespace {

std::string_view withoutFinalNULs(ByteView value) {
    auto text = asText(value);
    const auto last = text.find_last_not_of('\0');
    return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

std::vector<std::string_view> linesOf(ByteView value) {
    std::vector<std::string_view> lines;
    auto rest = withoutFinalNULs(value);
    while (!rest.empty()) {
        const auto end = std::min(rest.find_first_of("\r\n"), rest.size());
        if (end > 0) lines.push_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return lines;
}

/// The host of a URL with an authority (RFC 3986 section 3.2.2); empty without one.
std::string_view hostOf(const URL& url) {
    auto rest = url.absoluteString().substr(url.scheme().size() + 1);
    if (!rest.starts_with("//")) return {};
    rest.remove_prefix(2);
    return rest.substr(0, rest.find_first_of("/?#"));
}

std::vector<URL> localFiles(const std::vector<std::string_view>& lines, std::string_view hostName) {
    std::vector<URL> files;
    for (const auto line : lines) {
        if (line.front() == '#') continue;
        const auto url = URL::parse(line);
        if (!url || !url->isFile()) continue;
        const auto host = hostOf(*url);
        if (!host.empty() && host != "localhost" && host != hostName) continue;
        if (url->path().starts_with('/')) files.push_back(*url);
    }
    return files;
}

}  // namespace

std::vector<std::uint32_t> atomsOf(ByteView value) {
    std::vector<std::uint32_t> atoms;
    std::unordered_set<std::uint32_t> seen;
    for (std::size_t at = 0; at + sizeof(std::uint32_t) <= value.size(); at += sizeof(std::uint32_t)) {
        std::uint32_t atom = 0;
        std::memcpy(&atom, value.data() + at, sizeof atom);
        if (atom != 0 && seen.insert(atom).second) atoms.push_back(atom);
    }
    return atoms;
}

std::vector<URL> filesOfURIList(ByteView value, std::string_view hostName) {
    return localFiles(linesOf(value), hostName);
}

std::vector<URL> filesOfCopiedFiles(ByteView value, std::string_view hostName) {
    auto lines = linesOf(value);
    if (lines.empty() || (lines.front() != "copy" && lines.front() != "cut")) return {};
    lines.erase(lines.begin());
    return localFiles(lines, hostName);
}

std::string textOfUTF8(ByteView value) {
    const auto text = withoutFinalNULs(value);
    return isValidUTF8(text) ? std::string(text) : repairedUTF8(text);
}

std::string textOfLatin1(ByteView value) { return fromLatin1(withoutFinalNULs(value)); }

std::string latin1Of(std::string_view text) {
    std::string latin1;
    latin1.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto lead = static_cast<unsigned char>(text[at]);
        if (lead < 0x80) {
            latin1 += text[at];
            continue;
        }
        if ((lead & 0xC0) == 0x80) continue;
        const bool isLatin1 = (lead == 0xC2 || lead == 0xC3) && at + 1 < text.size();
        latin1 += isLatin1 ? static_cast<char>((lead & 0x03) << 6 | (text[at + 1] & 0x3F)) : '?';
    }
    return latin1;
}

bool isSecret(ByteView hint) { return withoutFinalNULs(hint) == "secret"; }

}  // namespace vellumix::x11
