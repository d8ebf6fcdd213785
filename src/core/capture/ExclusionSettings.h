#pragma once

#include <set>
#include <string>
#include <string_view>

#include "platform/foundation/observation/Published.h"

namespace vellumix {

/// The applications whose copies are never recorded, by exact bundle identifier. Main thread only.
class ExclusionSettings {
public:
    static ExclusionSettings& shared();
    /// Reads the user defaults once.
    ExclusionSettings();

    Published<std::set<std::string, std::less<>>> excludedBundleIds;

    /// Adds the identifier without blanks at its ends, and saves; a blank one changes nothing.
    void add(std::string_view bundleId);
    void remove(std::string_view bundleId);

private:
    void save();
};

}  // namespace vellumix
