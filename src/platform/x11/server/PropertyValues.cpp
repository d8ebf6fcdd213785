#include "platform/x11/server/PropertyValues.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unordered_set>

#include "platform/foundation/text/Unicode.h"

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

CopiedFiles filesOfCopiedFiles(ByteView value, std::string_view hostName) {
    auto lines = linesOf(value);
    if (lines.empty() || (lines.front() != "copy" && lines.front() != "cut")) return {};
    const bool isCut = lines.front() == "cut";
    lines.erase(lines.begin());
    return {localFiles(lines, hostName), isCut};
}

bool isCutSelection(ByteView value) { return withoutFinalNULs(value) == "1"; }

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

PasswordHint passwordHintOf(ByteView value) {
    constexpr std::string_view blanks(" \t\r\n\v\f\0", 7);
    auto word = asText(value);
    word.remove_prefix(std::min(word.find_first_not_of(blanks), word.size()));
    word = word.substr(0, word.find_last_not_of(blanks) + 1);
    const auto isPrintable = [](unsigned char c) { return c >= 0x20 && c < 0x7F; };
    if (word.empty() || !std::ranges::all_of(word, isPrintable)) return PasswordHint::unreadable;
    return std::ranges::equal(word, std::string_view("secret"), {}, [](char c) { return c | 0x20; })
               ? PasswordHint::secret
               : PasswordHint::otherWord;
}

bool isSVGDocument(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
    const auto skipPast = [&](std::string_view end) {
        const auto at = text.find(end);
        text.remove_prefix(at == std::string_view::npos ? text.size() : at + end.size());
    };
    while (true) {
        text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
        if (text.starts_with("<!--")) {
            skipPast("-->");
        } else if (text.starts_with("<?")) {
            skipPast("?>");
        } else if (text.starts_with("<!DOCTYPE")) {
            // The declarations that a document type may bring with it stand in brackets.
            const auto end = std::min(text.find_first_of("[>"), text.size());
            text.remove_prefix(end);
            if (text.starts_with('[')) skipPast("]");
            skipPast(">");
        } else {
            break;
        }
    }
    if (!text.starts_with('<')) return false;
    auto name = text.substr(1, std::min(text.find_first_of(" \t\r\n/>"), text.size()) - 1);
    name.remove_prefix(name.find(':') == std::string_view::npos ? 0 : name.find(':') + 1);
    return name == "svg";
}

}  // namespace vellumix::x11
