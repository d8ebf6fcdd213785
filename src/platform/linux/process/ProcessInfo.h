#pragma once

#include <utility>

#include "platform/desktop/ProcessInfo.h"

namespace vellumix::linux_desktop {

/// This process. The system's name and version are those of os-release(5).
class ProcessInfo final : public NSProcessInfo {
public:
    /// Without the program's name.
    explicit ProcessInfo(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {}

    const std::vector<std::string>& arguments() const override { return arguments_; }
    std::optional<std::string> environment(const std::string& name) const override;
    std::string operatingSystemVersionString() const override;
    /// That of messages, as `preferredLanguages` reads it; the region is the locale's own.
    NSLocale currentLocale() const override;

private:
    const std::vector<std::string> arguments_;
};

}  // namespace vellumix::linux_desktop
