#include "platform/linux/updates/VersionNumber.h"

#include <algorithm>
#include <charconv>

namespace vellumix::linux_desktop {

std::optional<VersionNumber> VersionNumber::parse(std::string_view text) {
    constexpr std::size_t mostNumbers = 8;
    constexpr std::size_t mostDigits = 9;
    VersionNumber version;
    while (version.numbers.size() < mostNumbers) {
        const auto digits = text.substr(0, text.find('.'));
        if (digits.empty() || digits.size() > mostDigits) return std::nullopt;
        auto& number = version.numbers.emplace_back();
        const auto* const end = digits.data() + digits.size();
        if (std::from_chars(digits.data(), end, number).ptr != end) return std::nullopt;
        text.remove_prefix(digits.size());
        if (text.empty()) {
            while (!version.numbers.empty() && version.numbers.back() == 0) version.numbers.pop_back();
            return version;
        }
        text.remove_prefix(1);
    }
    return std::nullopt;
}

std::string VersionNumber::text() const {
    std::string text;
    for (const auto number : numbers) text += (text.empty() ? "" : ".") + std::to_string(number);
    return text.empty() ? "0" : text;
}

}  // namespace vellumix::linux_desktop
