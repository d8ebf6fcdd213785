// Records: whatever decodes must encode, and decode again to the same entries.

#include <cstdlib>

#include "core/HistoryCoding.h"

using namespace vellumix;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    std::vector<ClipboardItem> items;
    if (!decodeHistory({bytes, size}, items).empty()) return 0;
    Bytes json;
    std::vector<ClipboardItem> again;
    const auto collect = [&](ByteView piece) {
        append(json, piece);
        return true;
    };
    if (!encodeHistory(items, collect) || !decodeHistory(json, again).empty() || again != items) std::abort();
    return 0;
}
