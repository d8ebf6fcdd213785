#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellumix::linux_desktop {

/// Numbers with dots between them, "1.10.2", the first of which counts most. A missing number is 0.
class VersionNumber {
public:
    /// Nothing for anything else, for more than eight numbers, and for one of more than nine digits.
    static std::optional<VersionNumber> parse(std::string_view text);

    /// In its shortest form.
    std::string text() const;

    std::strong_ordering operator<=>(const VersionNumber&) const = default;
    bool operator==(const VersionNumber&) const = default;

private:
    /// Without zeros at the end.
    std::vector<std::uint32_t> numbers;
};

}  // namespace vellumix::linux_desktop
