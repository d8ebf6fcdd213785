// Encoding, enciphering and loading of a full history, beside what the same bytes cost by themselves.

#include <glib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "bench/Sample.h"
#include "core/EncryptionManager.h"
#include "core/HistoryCoding.h"
#include "core/Store.h"
#include "platform/foundation/AESGCM.h"
#include "platform/headless/Desktop.h"

using namespace vellumix;

namespace {

constexpr int rounds = 15;

/// The median of some rounds, in milliseconds.
double milliseconds(const std::function<void()>& work) {
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        times.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
    }
    return bench::median(std::move(times));
}

void row(const char* what, double time, double megabytes) {
    std::printf("  %-52s %8.2f ms %8.2f GB/s\n", what, time, megabytes / 1e3 / (time / 1e3));
}

void compare(const char* title, const std::vector<ClipboardItem>& items, headless::Desktop& desktop) {
    std::printf("%s\n", title);
    Bytes payload(Store::sealRoom);
    encodeHistory(items, payload);
    const auto json = static_cast<double>(payload.size()) / 1e6;

    row("encode", milliseconds([&] {
            Bytes out(Store::sealRoom);
            encodeHistory(items, out);
        }),
        json);
    row("encode and encipher, as for one save", milliseconds([&] {
            Bytes out(Store::sealRoom);
            encodeHistory(items, out);
            Store::sealHistory(std::move(out));
        }),
        json);

    Store store(URL::file("/bench.json"));
    store.replaceAll(items);
    store.saveNow();
    row("load: read, decipher, decode", milliseconds([&] { Store again(URL::file("/bench.json")); }), json);

    const auto key = SymmetricKey::random();
    row("compared: AES-256-GCM alone, on the same bytes", milliseconds([&] {
            payload.resize(payload.size());
            aesgcm::sealInPlace(payload, 4, key);
            payload.resize(payload.size() - aesgcm::tagSize);
        }),
        json);
    row("compared: one copy of the same bytes", milliseconds([&] { Bytes copy(payload); }), json);
    row("compared: GLib's Base64 of the images alone", milliseconds([&] {
            for (const auto& item : items) {
                if (item._imageData)
                    g_free(g_base64_encode(item._imageData->view().data(), item._imageData->size()));
            }
        }),
        json);
    desktop.files.files.clear();
}

}  // namespace

int main() {
    headless::Desktop desktop;
    const platform::Scope scope(desktop.platform());
    std::vector<ClipboardItem> items;
    std::generate_n(std::back_inserter(items), 200, bench::textEntry);
    compare("200 texts of 1 to 5 KB", items, desktop);
    compare("180 texts of 1 to 5 KB, 20 images of 1 MB", bench::fullHistory(), desktop);
}
