#include "core/capture/ExclusionSettings.h"

#include <vector>

#include "platform/foundation/files/UserDefaults.h"
#include "platform/foundation/observation/SharedInstances.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {
constexpr std::string_view key = "settings.excludedBundleIds";
}

ExclusionSettings& ExclusionSettings::shared() { return SharedInstances::current().get<ExclusionSettings>(); }

ExclusionSettings::ExclusionSettings() {
    const auto stored = UserDefaults::standard().value<std::vector<std::string>>(key);
    if (stored) excludedBundleIds.set({stored->begin(), stored->end()});
}

void ExclusionSettings::add(std::string_view bundleId) {
    const auto trimmed = trimmedOfWhitespaceAndNewlines(bundleId);
    if (trimmed.empty()) return;
    excludedBundleIds.update([&](auto& ids) { ids.emplace(trimmed); });
    save();
}

void ExclusionSettings::remove(std::string_view bundleId) {
    excludedBundleIds.update([&](auto& ids) { ids.erase(std::string(bundleId)); });
    save();
}

void ExclusionSettings::save() {
    UserDefaults::standard().set(
        key, std::vector<std::string>(excludedBundleIds->begin(), excludedBundleIds->end()));
}

}  // namespace vellumix
