#include <charconv>
#include <cmath>
#include <cstring>

#include "platform/foundation/bytes/Base64.h"
#include "platform/foundation/coding/Json.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {

constexpr int greatestDepth = 512;

void appendUTF8(std::string& text, unsigned c) {
    const auto put = [&](unsigned byte) { text += static_cast<char>(byte); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | c >> 6);
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | c >> 12);
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | c >> 18);
        put(0x80 | (c >> 12 & 0x3F));
        put(0x80 | (c >> 6 & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

/// The length of the number at the start (RFC 8259 section 6); 0 when there is none.
std::size_t numberLength(std::string_view text) {
    std::size_t at = 0;
    const auto digits = [&] {
        const auto from = at;
        while (at < text.size() && text[at] >= '0' && text[at] <= '9') ++at;
        return at - from;
    };
    if (at < text.size() && text[at] == '-') ++at;
    const auto first = at;
    const auto whole = digits();
    if (whole == 0 || (whole > 1 && text[first] == '0')) return 0;
    if (at < text.size() && text[at] == '.') {
        ++at;
        if (digits() == 0) return 0;
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
        if (digits() == 0) return 0;
    }
    return at;
}

}  // namespace

bool JsonReader::fail(std::string reason) {
    if (error_.empty()) {
        error_ = std::move(reason) + " at byte " + std::to_string(rest.data() - begin);
        rest = {};
    }
    return false;
}

void JsonReader::skipBlanks() {
    while (!rest.empty() && (rest[0] == ' ' || rest[0] == '\n' || rest[0] == '\r' || rest[0] == '\t')) {
        rest = rest.subspan(1);
    }
}

bool JsonReader::take(char c) {
    skipBlanks();
    if (rest.empty() || rest[0] != static_cast<std::uint8_t>(c)) return false;
    rest = rest.subspan(1);
    return true;
}

bool JsonReader::literal(std::string_view word) {
    skipBlanks();
    if (!asText(rest).starts_with(word)) return fail("not the expected value");
    rest = rest.subspan(word.size());
    return true;
}

JsonReader::Kind JsonReader::next() {
    skipBlanks();
    if (rest.empty()) return Kind::none;
    switch (rest[0]) {
        case '{':
            return Kind::object;
        case '[':
            return Kind::array;
        case '"':
            return Kind::string;
        case 't':
        case 'f':
            return Kind::boolean;
        case 'n':
            return Kind::null;
        default:
            return rest[0] == '-' || (rest[0] >= '0' && rest[0] <= '9') ? Kind::number : Kind::none;
    }
}

bool JsonReader::enter() { return ++depth <= greatestDepth || fail("nested too deeply"); }

bool JsonReader::array(const std::function<bool()>& element) {
    if (!take('[')) return fail("not an array");
    if (!enter()) return false;
    if (!take(']')) {
        do {
            if (!element()) return fail("unreadable element");
        } while (take(','));
        if (!take(']')) return fail("array not closed");
    }
    --depth;
    return true;
}

bool JsonReader::object(const std::function<bool(std::string_view)>& member) {
    if (!take('{')) return fail("not an object");
    if (!enter()) return false;
    if (!take('}')) {
        std::string key;
        do {
            if (!string(key)) return false;
            if (!take(':')) return fail("no colon behind a key");
            if (!member(key)) return fail("unreadable member");
        } while (take(','));
        if (!take('}')) return fail("object not closed");
    }
    --depth;
    return true;
}

bool JsonReader::codeUnit(unsigned& unit) {
    if (rest.size() < 4) return fail("short escape");
    const auto text = asText(rest.first(4));
    const auto [end, status] = std::from_chars(text.data(), text.data() + 4, unit, 16);
    if (status != std::errc() || end != text.data() + 4 || text[0] == '-') return fail("malformed escape");
    rest = rest.subspan(4);
    return true;
}

bool JsonReader::escape(std::string& text) {
    if (rest.empty()) return fail("string not closed");
    const auto c = rest[0];
    rest = rest.subspan(1);
    switch (c) {
        case '"':
        case '\\':
        case '/':
            text += static_cast<char>(c);
            return true;
        case 'b':
            text += '\b';
            return true;
        case 'f':
            text += '\f';
            return true;
        case 'n':
            text += '\n';
            return true;
        case 'r':
            text += '\r';
            return true;
        case 't':
            text += '\t';
            return true;
        case 'u':
            break;
        default:
            return fail("unknown escape");
    }
    unsigned unit = 0;
    if (!codeUnit(unit)) return false;
    if (unit >= 0xDC00 && unit < 0xE000) return fail("lone surrogate");
    if (unit >= 0xD800 && unit < 0xDC00) {
        unsigned low = 0;
        if (!asText(rest).starts_with("\\u")) return fail("lone surrogate");
        rest = rest.subspan(2);
        if (!codeUnit(low)) return false;
        if (low < 0xDC00 || low > 0xDFFF) return fail("lone surrogate");
        unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    appendUTF8(text, unit);
    return true;
}

bool JsonReader::string(std::string& text) {
    if (!take('"')) return fail("not a string");
    text.clear();
    while (true) {
        std::size_t plain = 0;
        while (plain < rest.size() && rest[plain] != '"' && rest[plain] != '\\' && rest[plain] >= 0x20)
            ++plain;
        text += asText(rest.first(plain));
        rest = rest.subspan(plain);
        if (rest.empty()) return fail("string not closed");
        const auto c = rest[0];
        if (c < 0x20) return fail("control character in a string");
        rest = rest.subspan(1);
        if (c == '"') break;
        if (!escape(text)) return false;
    }
    return isValidUTF8(text) || fail("ill-formed UTF-8");
}

bool JsonReader::numberText(std::string& text) {
    skipBlanks();
    const auto length = numberLength(asText(rest));
    if (length == 0) return fail("not a number");
    text = asText(rest.first(length));
    rest = rest.subspan(length);
    return true;
}

bool JsonReader::number(double& value) {
    std::string text;
    if (!numberText(text)) return false;
    const auto status = std::from_chars(text.data(), text.data() + text.size(), value).ec;
    return (status == std::errc() && std::isfinite(value)) || fail("number out of range");
}

bool JsonReader::boolean(bool& value) {
    skipBlanks();
    value = !rest.empty() && rest[0] == 't';
    return literal(value ? "true" : "false");
}

bool JsonReader::null() { return literal("null"); }

bool JsonReader::base64(std::uint8_t*& out) {
    if (!take('"')) return fail("not a string");
    return base64::decodeEscaped(rest, out) || fail("not Base64");
}

bool JsonReader::skip() {
    std::string text;
    bool flag = false;
    switch (next()) {
        case Kind::object:
            return object([this](std::string_view) { return skip(); });
        case Kind::array:
            return array([this] { return skip(); });
        case Kind::string:
            return string(text);
        case Kind::number:
            return numberText(text);
        case Kind::boolean:
            return boolean(flag);
        case Kind::null:
            return null();
        case Kind::none:
            break;
    }
    return fail("no value");
}

bool JsonReader::end() {
    skipBlanks();
    return error_.empty() && (rest.empty() || fail("more than one value"));
}

}  // namespace vellumix
