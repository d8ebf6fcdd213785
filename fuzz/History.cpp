// Records: whatever decodes must encode, and decode again to the same entries.

#include <cstdlib>

#include "core/history/HistoryCoding.h"

using namespace vellumix;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    std::vector<ClipboardItem> items;
    const auto decode = [](Bytes json, std::vector<ClipboardItem>& into) {
        const ByteView view = json;
        return decodeHistory(std::move(json), view, into).empty();
    };
    if (!decode(bytesOf({bytes, size}), items)) return 0;
    Bytes json;
    std::vector<ClipboardItem> again;
    const auto collect = [&](ByteView piece) {
        append(json, piece);
        return true;
    };
    if (!encodeHistory(items, collect) || !decode(json, again) || again != items) std::abort();
    return 0;
}
