#include "core/capture/ExclusionSettings.h"

#include <vector>

#include "platform/foundation/observation/SharedInstances.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {
const Setting<BundleIds, AsBundleIds> excludedSetting("settings.excludedBundleIds");
}

std::optional<BundleIds> AsBundleIds::load(std::string_view key, const UserDefaults& defaults) {
    const auto stored = defaults.value<std::vector<std::string>>(key);
    return stored ? std::optional(BundleIds(stored->begin(), stored->end())) : std::nullopt;
}

void AsBundleIds::save(const BundleIds& ids, std::string_view key, UserDefaults& defaults) {
    defaults.set(key, std::vector<std::string>(ids.begin(), ids.end()));
}

ExclusionSettings& ExclusionSettings::shared() { return SharedInstances::current().get<ExclusionSettings>(); }

ExclusionSettings::ExclusionSettings() : excludedBundleIds(excludedSetting) {}

void ExclusionSettings::add(std::string_view bundleId) {
    const auto trimmed = trimmedOfWhitespaceAndNewlines(bundleId);
    if (trimmed.empty()) return;
    excludedBundleIds.update([&](auto& ids) { ids.emplace(trimmed); });
}

void ExclusionSettings::remove(std::string_view bundleId) {
    excludedBundleIds.update([&](auto& ids) { ids.erase(std::string(bundleId)); });
}

}  // namespace vellumix
