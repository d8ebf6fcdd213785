#pragma once

#include <compare>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace vellumix {

/// A moment, in seconds since 2001-01-01 00:00:00 UTC.
struct Date {
    /// Seconds from 1970-01-01 00:00:00 UTC to the reference moment.
    static constexpr double unixOffset = 978307200.0;

    double secondsSinceReference = 0;

    static constexpr Date fromUnix(double seconds) { return {seconds - unixOffset}; }
    /// Earlier than every moment that a clock can give.
    static constexpr Date distantPast() { return {-63114076800.0}; }

    constexpr double unixSeconds() const { return secondsSinceReference + unixOffset; }
    /// ISO 8601 section 5.4 in UTC, to the second: "2026-11-22T21:00:00Z", or basic without separators.
    std::string iso8601(bool basic = false) const;
    /// Reads a date and a time with its zone (RFC 3339 section 5.6); a leap second counts as the one before.
    static std::optional<Date> fromRFC3339(std::string_view text);

    constexpr auto operator<=>(const Date&) const = default;
    friend constexpr Date operator+(Date date, double seconds) {
        return {date.secondsSinceReference + seconds};
    }
    friend constexpr double operator-(Date a, Date b) {
        return a.secondsSinceReference - b.secondsSinceReference;
    }
};

}  // namespace vellumix
