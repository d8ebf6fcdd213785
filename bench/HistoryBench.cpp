// Encoding, enciphering and loading of a history, beside what the same bytes cost by themselves. The times
// are those of the processor on the main thread, so that other programs on the machine don't count.

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "bench/Sample.h"
#include "core/history/EncryptionManager.h"
#include "core/history/HistoryCoding.h"
#include "core/history/Store.h"
#include "platform/foundation/cipher/AESGCM.h"
#include "platform/headless/Desktop.h"
#include "sync/CloudSyncCoordinator.h"

using namespace vellumix;

namespace {

/// In milliseconds, of this thread.
double processorTime() {
    std::timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// The median of some rounds, in milliseconds: fewer of what takes long.
double milliseconds(const std::function<void()>& work) {
    std::vector<double> times;
    double total = 0;
    while (times.size() < 3 || (times.size() < 15 && total < 500)) {
        const auto begin = processorTime();
        work();
        times.push_back(processorTime() - begin);
        total += times.back();
    }
    return bench::median(std::move(times));
}

/// `megabytes` are those of the payloads, before Base64.
void row(const char* what, double time, double megabytes) {
    std::printf("  %-56s %8.2f ms %8.3f ms/MB\n", what, time, time / megabytes);
    std::fflush(stdout);
}

void compare(const char* title, const std::vector<ClipboardItem>& items, headless::Desktop& desktop) {
    std::printf("%s\n", title);
    double megabytes = 0;
    for (const auto& item : items) {
        megabytes += static_cast<double>((item._text ? item._text->size() : 0) +
                                         (item._imageData ? item._imageData->size() : 0)) /
                     1e6;
    }
    Bytes json;
    encodeHistory(items, [&](ByteView piece) {
        append(json, piece);
        return true;
    });

    row("encode", milliseconds([&] { encodeHistory(items, [](ByteView) { return true; }); }), megabytes);
    const auto pool = std::make_shared<BlockPool>();
    const auto seal = [&] {
        BlockBuffer out(pool);
        Store::sealHistory([&](const ByteTaker& take) { return encodeHistory(items, take); }, out);
    };
    row("encode and encipher, a change right after another", milliseconds(seal), megabytes);
    row("encode and encipher, a change after a rest", milliseconds([&] {
            pool->release();
            seal();
        }),
        megabytes);
    pool->release();

    Store store(URL::file("/bench.json"));
    store.replaceAll(items);
    store.saveNow();
    row("load: read, decipher, decode", milliseconds([&] { Store again(URL::file("/bench.json")); }),
        megabytes);
    desktop.files.files.clear();

    const auto key = SymmetricKey::random();
    row("compared: AES-256-GCM alone, on the same bytes", milliseconds([&] {
            auto sealing = aesgcm::Sealing::begin(key);
            sealing->add(json, json.data());
        }),
        megabytes);
    row("compared: one copy of the same bytes", milliseconds([&] { Bytes copy(json); }), megabytes);
    row("compared: GLib's Base64 of the images alone", milliseconds([&] {
            for (const auto& item : items) {
                if (item._imageData)
                    g_free(g_base64_encode(item._imageData->view().data(), item._imageData->size()));
            }
        }),
        megabytes);
}

/// Entries from the cloud, texts of 1 KB of which every seventh is a double, into a full history.
void fetch(const std::vector<ClipboardItem>& items, headless::Desktop& desktop) {
    constexpr int count = 10'000;
    UserDefaults::standard().set("settings.iCloudSyncEnabled", PropertyValue(true));
    Store store(URL::file("/bench.json"));
    store.replaceAll(items);
    CloudSyncCoordinator coordinator(store);
    desktop.runLoop.advance(1);
    auto& records = desktop.cloud.next.records;
    for (int each = 0; each < count; ++each) {
        auto text = std::to_string(each % 7 ? each : each / 14);
        text.resize(1000, 'x');
        records.push_back({{}, {{"kind", "text"}, {"createdAt", Date{1}}, {"text", text}}});
    }
    std::puts("10,000 new entries from the cloud");
    row("all of them", milliseconds([&] {
            for (auto& record : records) record.recordID.recordName = UUID::random().uuidString();
            coordinator.fetchChanges();
            desktop.runLoop.advance(1);
        }),
        count / 1e3);
    desktop.files.files.clear();
}

}  // namespace

int main() {
    headless::Desktop desktop;
    const platform::Scope scope(desktop.platform());
    std::vector<ClipboardItem> items;
    std::generate_n(std::back_inserter(items), 200, bench::textEntry);
    compare("200 texts of 1 to 5 KB", items, desktop);
    compare("180 texts of 1 to 5 KB, 20 images of 1 MB", bench::historyOf(20, std::size_t{1} << 20), desktop);
    fetch(bench::historyOf(20, std::size_t{1} << 20), desktop);
    compare("180 texts of 1 to 5 KB, 8 images of 17 MB", bench::historyOf(8, 17'000'000), desktop);
    compare("180 texts of 1 to 5 KB, 20 images of 25 MB", bench::historyOf(20, 25'000'000), desktop);
}
