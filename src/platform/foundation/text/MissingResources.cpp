#include "platform/foundation/text/MissingResources.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "platform/foundation/loop/Log.h"

namespace vellumix {

namespace {

constexpr std::size_t countLimit = 100;

std::mutex mutex;
std::vector<std::string> missing;

}  // namespace

void reportMissing(std::string_view kind, std::string_view name) {
    auto entry = std::string(kind) + ' ' + std::string(name);
    {
        const std::scoped_lock lock(mutex);
        if (missing.size() == countLimit || std::ranges::find(missing, entry) != missing.end()) return;
        missing.push_back(entry);
    }
    Log("Resources").error("The program has no " + entry);
}

std::vector<std::string> takeMissing() {
    const std::scoped_lock lock(mutex);
    return std::exchange(missing, {});
}

}  // namespace vellumix
