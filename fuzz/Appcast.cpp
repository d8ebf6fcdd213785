// Feeds of updates: what is taken from one is within its bounds.

#include "platform/linux/updates/Appcast.h"

#include <cstdlib>

using namespace vellumix;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto items = linux_desktop::appcast::read({bytes, size});
    if (!items) return 0;
    for (const auto& item : *items) {
        const auto build = linux_desktop::VersionNumber::parse(item.build.text());
        if (build != item.build || item.length == 0 || item.length > linux_desktop::appcast::largestFile ||
            item.notes.size() > size || item.shortVersion.size() > size)
            std::abort();
    }
    return 0;
}
