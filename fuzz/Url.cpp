// Addresses: what parses has parts that can be asked for, and its path survives a round trip as a file.

#include <cstdlib>

#include "platform/foundation/coding/URL.h"

using namespace vellumix;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    if (const auto url = URL::parse(text)) {
        if (url->absoluteString() != text) std::abort();
        url->path();
        url->lastPathComponent();
    }
    const std::string path = "/" + std::string(text);
    if (percentDecoded(percentEncoded(path, isAllowedInQuery)) != path) std::abort();
    const auto file = URL::file(path);
    if (!URL::parse(file.absoluteString())) std::abort();
    return 0;
}
