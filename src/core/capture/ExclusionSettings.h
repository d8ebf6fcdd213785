#pragma once

#include <set>
#include <string>
#include <string_view>

#include "platform/foundation/files/Setting.h"

namespace vellumix {

using BundleIds = std::set<std::string, std::less<>>;

/// Bundle identifiers among the settings, as an array of strings in ascending order.
struct AsBundleIds {
    static std::optional<BundleIds> load(std::string_view key, const UserDefaults& defaults);
    static void save(const BundleIds& ids, std::string_view key, UserDefaults& defaults);
};

/// The applications whose copies are never recorded, by exact bundle identifier. Main thread only.
class ExclusionSettings {
public:
    static ExclusionSettings& shared();
    /// Reads the user defaults once.
    ExclusionSettings();

    /// Stored as often as it changes.
    PublishedSetting<BundleIds, AsBundleIds> excludedBundleIds;

    /// Adds the identifier without blanks at its ends; a blank one changes nothing.
    void add(std::string_view bundleId);
    void remove(std::string_view bundleId);
};

}  // namespace vellumix
