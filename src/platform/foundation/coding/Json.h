#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/foundation/bytes/BlockBuffer.h"

/// JSON (RFC 8259).
namespace vellumix {

/// Appends compact JSON to a buffer: no blanks, keys in the order of the calls, `/` as `\/`, control
/// characters as
/// `\b \f \n \r \t` or `\u00xx`, everything else as it is. Strings must be valid UTF-8.
class JsonWriter {
public:
    explicit JsonWriter(Bytes& out) : out(out) {}
    /// Hands on what is written in pieces of about `pieceSize` bytes, small enough to be still in the
    /// processor's cache; `scratch` holds the present one, and `end` hands on the last.
    JsonWriter(Bytes& scratch, const ByteTaker& take) : out(scratch), take(&take) {}
    static constexpr std::size_t pieceSize = std::size_t{32} << 10;
    /// False when a piece wasn't taken; none is offered after that.
    bool end() { return handOn(); }

    void beginArray() { open('['); }
    void endArray() { close(']'); }
    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void key(std::string_view name);
    void string(std::string_view text);
    /// The bytes that `string` writes.
    static std::size_t stringSize(std::string_view text);
    /// The shortest text that reads back to the same double; the number must be finite.
    void number(double value);
    void boolean(bool value);
    void null();
    /// A string of Base64.
    void base64(ByteView bytes);

private:
    void open(char bracket);
    void close(char bracket);
    void separate();
    void put(std::string_view text);
    void passOn();
    bool handOn();
    void quoted(std::string_view text);

    Bytes& out;
    const ByteTaker* take = nullptr;
    bool isTaken = true;
    bool needsComma = false;
};

/// Reads JSON strictly, one value at a time, with no tree in between.
///
/// Every read returns whether it worked; after one failure all fail, and `error` says why and where. Strings
/// must be valid UTF-8, surrogates paired, depth at most 512.
class JsonReader {
public:
    explicit JsonReader(ByteView text) : begin(text.data()), rest(text) {}

    enum class Kind { object, array, string, number, boolean, null, none };
    /// The kind of the next value by its first character; `none` at the end or before something that is no
    /// value.
    Kind next();

    /// Calls `element` before each element, which must read it; false from it ends the reading.
    bool array(const std::function<bool()>& element);
    /// Calls `member` with each key; it must read the value. Keys may repeat.
    bool object(const std::function<bool(std::string_view key)>& member);
    bool string(std::string& text);
    bool number(double& value);
    /// The number as it was written.
    bool numberText(std::string& text);
    bool boolean(bool& value);
    bool null();
    /// A string of strict Base64, decoded to `out` as by `base64::decodeEscaped`.
    bool base64(std::uint8_t*& out);
    bool skip();
    /// True when only white space is left.
    bool end();

    /// Ends the reading with a reason of the caller's.
    bool fail(std::string reason);
    const std::string& error() const { return error_; }

private:
    void skipBlanks();
    bool take(char c);
    bool literal(std::string_view word);
    bool escape(std::string& text);
    bool codeUnit(unsigned& unit);
    bool enter();

    const std::uint8_t* begin;
    ByteView rest;
    int depth = 0;
    std::string error_;
};

/// A JSON value as a tree; numbers keep the text they were written with.
struct JsonValue {
    struct Number {
        std::string text;
    };
    using Array = std::vector<JsonValue>;
    using Object = std::vector<std::pair<std::string, JsonValue>>;
    std::variant<std::nullptr_t, bool, Number, std::string, Array, Object> value = nullptr;

    /// The whole text as one value, or nothing.
    static std::optional<JsonValue> parse(std::string_view text);
    /// One member or element a line, two blanks a level, keys sorted by code point. Of equal keys the last
    /// stays.
    std::string pretty() const { return printed(true); }
    /// The same without blanks and line breaks.
    std::string compact() const { return printed(false); }
    /// The member of an object, or nothing.
    const JsonValue* operator[](std::string_view key) const;

private:
    std::string printed(bool isPretty) const;
};

}  // namespace vellumix
