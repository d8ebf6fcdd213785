#include "platform/foundation/cipher/UUID.h"

#include "platform/foundation/bytes/HexDigit.h"
#include "platform/foundation/cipher/AESGCM.h"

namespace vellumix {

namespace {

constexpr bool isHyphenPlace(std::size_t index) {
    return index == 8 || index == 13 || index == 18 || index == 23;
}

}  // namespace

UUID UUID::random() {
    std::array<std::uint8_t, 16> bytes;
    fillRandom(bytes);
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
    return UUID(bytes);
}

std::optional<UUID> UUID::parse(std::string_view text) {
    if (text.size() != 36) return std::nullopt;
    std::array<std::uint8_t, 16> bytes{};
    std::size_t digit = 0;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (isHyphenPlace(index)) {
            if (text[index] != '-') return std::nullopt;
            continue;
        }
        const int value = hexDigit(text[index]);
        if (value < 0) return std::nullopt;
        auto& byte = bytes[digit / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | value);
        ++digit;
    }
    return UUID(bytes);
}

std::string UUID::uuidString() const {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(36);
    for (const auto byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
        if (isHyphenPlace(text.size())) text += '-';
    }
    return text;
}

}  // namespace vellumix
