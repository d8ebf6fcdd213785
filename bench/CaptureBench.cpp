// From a copy in another program, on an X server of its own, to the entry in the store. The other program is
// a second connection on the same loop, so that its share of the work is in the figures too.

#include <chrono>
#include <cstdio>

#include "bench/Sample.h"
#include "core/capture/PasteboardWatcher.h"
#include "core/history/Store.h"
#include "platform/headless/Desktop.h"
#include "platform/linux/images/PixbufImages.h"
#include "platform/linux/loop/GLibRunLoop.h"
#include "platform/x11/selections/Pasteboard.h"
#include "platform/x11/server/Connection.h"
#include "tests/x11/Peer.h"
#include "tests/x11/PrivateDisplay.h"

using namespace vellumix;
using tests::Peer;

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

std::uint32_t checksum(std::string_view bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char c : bytes) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

std::string bigEndian(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

/// A PNG in form: its pixels are noise, as nothing looks at them.
std::string png(std::size_t size) {
    const auto chunk = [](std::string type, std::string content) {
        type += content;
        return bigEndian(static_cast<std::uint32_t>(content.size())) + type + bigEndian(checksum(type));
    };
    std::string noise(size, '\0');
    for (auto& c : noise) c = static_cast<char>(bench::randomness()());
    return "\x89PNG\r\n\x1A\n" +
           chunk("IHDR", bigEndian(1) + bigEndian(1) + std::string("\x08\x06\x00\x00\x00", 5)) +
           chunk("IDAT", noise) + chunk("IEND", "");
}

class Bench {
public:
    Bench() {
        std::string error;
        connection = x11::Connection::open(runLoop, error);
        if (!connection) {
            std::fprintf(stderr, "%s\n", error.c_str());
            std::exit(1);
        }
        pasteboard = std::make_unique<x11::Pasteboard>(*connection);
        auto platform = desktop.platform();
        platform.runLoop = &runLoop;
        platform.pasteboard = pasteboard.get();
        platform.images = &images;
        scope = std::make_unique<platform::Scope>(std::move(platform));
        store = std::make_unique<Store>();
        watcher = std::make_unique<PasteboardWatcher>(*store);
        watcher->start();
        peer = std::make_unique<Peer>(runLoop);
        // What the pasteboard has asked the server for is done before the first copy.
        runLoop.post([this] { runLoop.stop(); });
        runLoop.run();
        peer->synchronize();
        arrivals = store->observeItems([this] { ++arrived; });
    }

    void fill() {
        isFull = true;
        store->replaceAll(bench::historyOf(20, std::size_t{1} << 20));
    }

    void time(const char* what, double budget, const std::function<std::vector<Peer::Answer>()>& content) {
        std::vector<double> times;
        for (int round = 0; round < 15; ++round) {
            const auto answers = content();
            if (!isFull) store->clear();
            const auto before = arrived;
            const auto begin = Clock::now();
            peer->copy(answers);
            double arrival = 0;
            const auto first = store->observeItems([&] { arrival = millisecondsSince(begin); });
            if (!tests::waitUntil(runLoop, [&] { return arrived > before; }))
                return std::printf("  %-44s never arrived\n", what), void();
            times.push_back(arrival);
        }
        std::printf("  %-44s %8.2f ms   (meant: %.0f ms)\n", what, bench::median(times), budget);
    }

    void burst(int count) {
        const auto before = arrived;
        const auto begin = Clock::now();
        for (int number = 0; number < count; ++number) {
            const auto seen = arrived;
            peer->copyText("burst " + std::to_string(number));
            tests::waitUntil(runLoop, [&] { return arrived > seen; });
        }
        const auto& items = store->items().get();
        bool isInOrder = items.size() == Store::limit;
        for (std::size_t at = 0; isInOrder && at < items.size(); ++at) {
            isInOrder =
                items[at]._text == String("burst " + std::to_string(count - 1 - static_cast<int>(at)));
        }
        std::printf("  burst of %d: %d polled, the last %zu kept%s, %.2f ms each\n", count, arrived - before,
                    items.size(), isInOrder ? " in order" : " OUT OF ORDER",
                    millisecondsSince(begin) / count);
    }

private:
    tests::PrivateDisplay display;
    linux_desktop::GLibRunLoop runLoop;
    headless::Desktop desktop;
    linux_desktop::PixbufImages images;
    std::unique_ptr<x11::Connection> connection;
    std::unique_ptr<x11::Pasteboard> pasteboard;
    std::unique_ptr<platform::Scope> scope;
    std::unique_ptr<Store> store;
    std::unique_ptr<PasteboardWatcher> watcher;
    std::unique_ptr<Peer> peer;
    Observation arrivals;
    int arrived = 0;
    bool isFull = false;
};

}  // namespace

int main() {
    Bench bench;
    const auto text = [](std::size_t size) {
        return [size]() -> std::vector<Peer::Answer> {
            return {{.target = "UTF8_STRING",
                     .bytes = bench::someText(size),
                     .manner = size > 100'000 ? Peer::Manner::incremental : Peer::Manner::whole,
                     .pieceBytes = 256 * 1024}};
        };
    };
    const auto image = []() -> std::vector<Peer::Answer> {
        return {{.target = "image/png",
                 .bytes = png(2'000'000),
                 .manner = Peer::Manner::incremental,
                 .pieceBytes = 256 * 1024}};
    };
    std::puts("copy to entry, empty history at first");
    bench.time("1 KB of text", 2, text(1024));
    bench.time("2 MB PNG", 30, image);
    bench.time("10 MB of text", 60, text(10'000'000));
    bench.fill();
    std::puts("copy to entry, 200 entries with 20 MB of images");
    bench.time("1 KB of text", 2, text(1024));
    bench.burst(500);
}
