#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vellumix {

/// What the system says of a person's language and place, whatever they chose for the program.
struct NSLocale {
    /// ISO 639, "pt"; absent in a locale without a language, as "C" is.
    std::optional<std::string> languageCode;
    /// ISO 3166-1 alpha-2, "BR".
    std::optional<std::string> regionCode;
};

/// The process and the system under it. Main thread; blocking, but reads no more than a small file.
class NSProcessInfo {
public:
    virtual ~NSProcessInfo() = default;
    /// Without the program's name.
    virtual const std::vector<std::string>& arguments() const = 0;
    /// The value of an environment variable, or nothing.
    virtual std::optional<std::string> environment(const std::string& name) const = 0;
    /// For a person, not for a comparison: the system's name and version.
    virtual std::string operatingSystemVersionString() const = 0;
    virtual NSLocale currentLocale() const = 0;
};

}  // namespace vellumix
