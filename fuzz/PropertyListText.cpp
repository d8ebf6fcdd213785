// Settings: what reads writes, and reads again to the same values.

#include <cstdlib>

#include "platform/foundation/coding/PropertyList.h"

using namespace vellumix;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto dictionary = readPropertyList({bytes, size});
    if (!dictionary) return 0;
    const auto again = readPropertyList(viewOf(writePropertyList(*dictionary)));
    if (!again || again->size() != dictionary->size()) std::abort();
    return 0;
}
