#include <map>

#include "platform/foundation/coding/Json.h"

namespace vellumix {

namespace {

bool read(JsonReader& reader, JsonValue& into) {
    switch (reader.next()) {
        case JsonReader::Kind::null:
            return reader.null();
        case JsonReader::Kind::boolean:
            return reader.boolean(into.value.emplace<bool>());
        case JsonReader::Kind::number:
            return reader.numberText(into.value.emplace<JsonValue::Number>().text);
        case JsonReader::Kind::string:
            return reader.string(into.value.emplace<std::string>());
        case JsonReader::Kind::array: {
            auto& elements = into.value.emplace<JsonValue::Array>();
            return reader.array([&] { return read(reader, elements.emplace_back()); });
        }
        case JsonReader::Kind::object: {
            auto& members = into.value.emplace<JsonValue::Object>();
            return reader.object([&](std::string_view key) {
                return read(reader, members.emplace_back(std::string(key), JsonValue()).second);
            });
        }
        case JsonReader::Kind::none:
            break;
    }
    return reader.fail("no value");
}

std::string quoted(std::string_view text) {
    // For a person's eyes: a slash needs no backslash here, and paths and addresses stay readable.
    Bytes bytes;
    JsonWriter(bytes).string(text);
    std::string result;
    const auto escaped = asText(bytes);
    for (std::size_t at = 0; at < escaped.size(); ++at) {
        if (escaped[at] == '\\') {
            if (escaped[at + 1] != '/') result += '\\';
            ++at;
        }
        result += escaped[at];
    }
    return result;
}

struct Printer {
    std::string& out;
    const bool isPretty;
    std::size_t level = 0;

    void line() const {
        if (!isPretty) return;
        out += '\n';
        out.append(2 * level, ' ');
    }
    template <class Items, class Each>
    void block(char open, char close, const Items& items, Each each) {
        out += open;
        if (!items.empty()) {
            ++level;
            bool isFirst = true;
            for (const auto& item : items) {
                if (!isFirst) out += ',';
                isFirst = false;
                line();
                each(item);
            }
            --level;
            line();
        }
        out += close;
    }

    void operator()(std::nullptr_t) { out += "null"; }
    void operator()(bool flag) { out += flag ? "true" : "false"; }
    void operator()(const JsonValue::Number& number) { out += number.text; }
    void operator()(const std::string& text) { out += quoted(text); }
    void operator()(const JsonValue::Array& elements) {
        block('[', ']', elements, [this](const JsonValue& element) { std::visit(*this, element.value); });
    }
    void operator()(const JsonValue::Object& members) {
        std::map<std::string_view, const JsonValue*> sorted;
        for (const auto& [key, member] : members) sorted[key] = &member;
        block('{', '}', sorted, [this](const auto& member) {
            out += quoted(member.first) + (isPretty ? ": " : ":");
            std::visit(*this, member.second->value);
        });
    }
};

}  // namespace

std::optional<JsonValue> JsonValue::parse(std::string_view text) {
    JsonReader reader(viewOf(text));
    JsonValue value;
    if (!read(reader, value) || !reader.end()) return std::nullopt;
    return value;
}

std::string JsonValue::printed(bool isPretty) const {
    std::string out;
    Printer printer{out, isPretty};
    std::visit(printer, value);
    return out;
}

const JsonValue* JsonValue::operator[](std::string_view key) const {
    const auto* const members = std::get_if<Object>(&value);
    if (!members) return nullptr;
    const JsonValue* found = nullptr;
    for (const auto& [name, member] : *members) {
        if (name == key) found = &member;
    }
    return found;
}

}  // namespace vellumix
