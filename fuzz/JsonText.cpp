// JSON: what parses prints, and the print parses and prints the same.

#include <cstdlib>

#include "platform/foundation/coding/Json.h"

using namespace vellumix;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto value = JsonValue::parse({reinterpret_cast<const char*>(bytes), size});
    if (!value) return 0;
    const auto pretty = value->pretty();
    const auto again = JsonValue::parse(pretty);
    if (!again || again->pretty() != pretty) std::abort();
    return 0;
}
