#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vellumix {

/// A universally unique identifier (RFC 9562 section 4).
class UUID {
public:
    UUID() = default;
    explicit UUID(const std::array<std::uint8_t, 16>& bytes) : bytes(bytes) {}

    /// A fresh random identifier (RFC 9562 section 5.4, version 4).
    static UUID random();
    /// Reads the 36-character form in either case; anything else gives nothing.
    static std::optional<UUID> parse(std::string_view text);

    /// The canonical form, upper case.
    std::string uuidString() const;

    auto operator<=>(const UUID&) const = default;

private:
    std::array<std::uint8_t, 16> bytes{};
};

}  // namespace vellumix
