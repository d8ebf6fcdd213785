#include "delivery/Shortcut.h"

#include <cmath>
#include <limits>
#include <map>

#include "platform/foundation/coding/Json.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

constexpr auto keyCodeKey = "keyCode";
constexpr auto modifiersKey = "modifiers";

struct Modifier {
    std::uint32_t carbon;
    CGEventFlags flag;
    const char* symbol;
    const char* nameOnBoard;
    bool KeyModifiers::*isHeld;
};

/// In the order in which they are read.
constexpr Modifier modifiersInOrder[] = {
    {controlKey, kCGEventFlagMaskControl, "⌃", "Ctrl", &KeyModifiers::hasControl},
    {optionKey, kCGEventFlagMaskAlternate, "⌥", "Alt", &KeyModifiers::hasOption},
    {shiftKey, kCGEventFlagMaskShift, "⇧", "Shift", &KeyModifiers::hasShift},
    {cmdKey, kCGEventFlagMaskCommand, "⌘", "Super", &KeyModifiers::hasCommand},
};

std::optional<std::uint32_t> readNumber(JsonReader& reader) {
    double number = 0;
    const bool isWhole = reader.number(number) && number >= 0 &&
                         number <= std::numeric_limits<std::uint32_t>::max() && std::floor(number) == number;
    return isWhole ? std::optional(static_cast<std::uint32_t>(number)) : std::nullopt;
}

}  // namespace

std::optional<Shortcut> Shortcut::decode(const Data& json) {
    std::optional<std::uint32_t> keyCode;
    std::optional<std::uint32_t> modifiers;
    JsonReader reader(json);
    const bool isRead = reader.object([&](std::string_view key) {
        if (key != keyCodeKey && key != modifiersKey) return reader.skip();
        auto& field = key == keyCodeKey ? keyCode : modifiers;
        field = readNumber(reader);
        return field.has_value();
    });
    if (!isRead || !reader.end() || !keyCode || !modifiers) return std::nullopt;
    return Shortcut{*keyCode, *modifiers};
}

Data Shortcut::encode() const {
    Bytes json;
    JsonWriter writer(json);
    writer.beginObject();
    writer.key(keyCodeKey);
    writer.number(keyCode);
    writer.key(modifiersKey);
    writer.number(modifiers);
    writer.endObject();
    return Data(std::move(json));
}

std::string displayString(const Shortcut& shortcut) {
    std::string text;
    for (const auto& modifier : modifiersInOrder) {
        if (shortcut.modifiers & modifier.carbon) text += modifier.symbol;
    }
    return text + keyName(shortcut.keyCode);
}

std::string nameOnBoard(const Shortcut& shortcut) {
    std::string text;
    for (const auto& modifier : modifiersInOrder) {
        if (shortcut.modifiers & modifier.carbon) text += std::string(modifier.nameOnBoard) + '+';
    }
    const auto name = keyName(shortcut.keyCode);
    return text + (name == " " ? localized("key.space") : name);
}

std::string keyName(std::uint32_t keyCode) {
    static const std::map<std::uint32_t, const char*> names{
        {0, "A"},   {1, "S"},  {2, "D"},  {3, "F"},  {4, "H"},  {5, "G"},  {6, "Z"},  {7, "X"},
        {8, "C"},   {9, "V"},  {11, "B"}, {12, "Q"}, {13, "W"}, {14, "E"}, {15, "R"}, {16, "Y"},
        {17, "T"},  {18, "1"}, {19, "2"}, {20, "3"}, {21, "4"}, {22, "6"}, {23, "5"}, {24, "="},
        {25, "9"},  {26, "7"}, {27, "-"}, {28, "8"}, {29, "0"}, {30, "]"}, {31, "O"}, {32, "U"},
        {33, "["},  {34, "I"}, {35, "P"}, {37, "L"}, {38, "J"}, {39, "'"}, {40, "K"}, {41, ";"},
        {42, "\\"}, {43, ","}, {44, "/"}, {45, "N"}, {46, "M"}, {47, "."}, {49, " "}, {50, "`"},
    };
    const auto found = names.find(keyCode);
    return found == names.end() ? "?" : found->second;
}

CGEventFlags modifierFlags(std::uint32_t modifiers) {
    CGEventFlags flags = 0;
    for (const auto& modifier : modifiersInOrder) {
        if (modifiers & modifier.carbon) flags |= modifier.flag;
    }
    return flags;
}

std::uint32_t carbonModifiers(CGEventFlags eventFlags) {
    std::uint32_t modifiers = 0;
    for (const auto& modifier : modifiersInOrder) {
        if (eventFlags & modifier.flag) modifiers |= modifier.carbon;
    }
    return modifiers;
}

}  // namespace vellumix
