// The history file: any bytes load as an empty history or as entries, and are never lost by the save that
// follows.

#include <algorithm>
#include <cstdlib>

#include "core/history/Store.h"
#include "platform/headless/Desktop.h"

using namespace vellumix;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    headless::Desktop desktop;
    desktop.keychain.items["com.tarnwick.Vellumix/encryption-key"] = Bytes(32, std::uint8_t{7});
    const platform::Scope scope(desktop.platform());
    desktop.files.files["/history.json"] = bytesOf({bytes, size});
    Store store(URL::file("/history.json"));
    const bool isReadable = size == 0 || !store.items()->empty();
    store.clear();
    store.saveNow();
    const bool isKept = std::ranges::any_of(desktop.files.files, [&](const auto& file) {
        return file.first.find("unreadable") != std::string::npos && sameBytes(file.second, {bytes, size});
    });
    // An empty array is readable and empty; everything else that loads as nothing must have been kept.
    if (!isReadable && !isKept && desktop.log.contains("Failed")) std::abort();
    return 0;
}
