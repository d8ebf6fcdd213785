// What the transport of the cloud costs: its memory before it is used and after, its turns of the loop while
// it takes 10,000 changes, and its wake-ups while nothing changes.
//     build/bench/bench_cloud

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <numeric>
#include <string>
#include <vector>

#include "linux/CloudRig.h"
#include "linux/HostileServer.h"
#include "platform/linux/cloud/CouchCloud.h"

using namespace vellumix;
using namespace vellumix::linux_desktop;

namespace {

constexpr int changes = 10'000;

double privateMegabytes() {
    std::ifstream rollup("/proc/self/smaps_rollup");
    double kilobytes = 0;
    for (std::string line; std::getline(rollup, line);) {
        if (line.starts_with("Private_")) kilobytes += std::stod(line.substr(line.find(':') + 1));
    }
    return kilobytes / 1024;
}

bool isLibraryMapped() {
    std::ifstream mappings("/proc/self/maps");
    return std::string(std::istreambuf_iterator<char>(mappings), {}).find("libcurl") != std::string::npos;
}

double processorSeconds() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// How often this thread has slept.
long sleepsOfThread() {
    rusage usage{};
    ::getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
}

std::string feed(std::size_t textSize) {
    std::string rows;
    for (int number = 0; number < changes; ++number) {
        const auto name = std::to_string(number);
        rows += (number ? "," : "") + std::string(R"({"seq":)") + name + R"(,"id":"r)" + name +
                R"(","doc":{"kind":"text","createdAt":"2026-11-23T10:00:00Z","text":")" +
                std::string(textSize, 'x') + "\"}}";
    }
    return answer(R"({"results":[)" + rows + R"(],"last_seq":9,"pending":0})");
}

}  // namespace

int main() {
    CloudRig rig;
    std::string script;
    const HostileServer server([&](const std::string&, const auto& peer) { peer.send(script); });
    const auto before = privateMegabytes();
    {
        CurlSession session(rig.loop);
        const CouchCloud cloud(
            rig.loop, session, rig.files, [&] { return rig.account; }, rig.assetFolder);
        std::printf("transport made: %+.2f MB private, libcurl %s\n", privateMegabytes() - before,
                    isLibraryMapped() ? "mapped" : "not mapped");
    }
    script = answer(R"({"results":[],"last_seq":9})");
    rig.account = CloudRig::accountAt(server.address());
    rig.fetch();
    std::printf("first fetch: %+.2f MB private, libcurl %s\n", privateMegabytes() - before,
                isLibraryMapped() ? "mapped" : "not mapped");

    for (const std::size_t textSize : {100, 1000, 10'000}) {
        script = feed(textSize);
        const auto begin = privateMegabytes();
        CloudRig::Fetch result;
        std::vector<double> turns;
        rig.container->addOperation(rig.operation(result, std::nullopt));
        auto last = processorSeconds();
        rig.loop.runUntil([&] {
            const auto now = processorSeconds();
            turns.push_back(now - last);
            last = processorSeconds();
            return result.hasEnded;
        });
        std::ranges::sort(turns);
        std::printf(
            "%zu changes of %zu bytes: %.0f ms in %zu turns, of which the longest 1.0%% take %.2f ms or more "
            "and one %.2f ms; %+.1f MB private for %.1f MB of text\n",
            result.records.size(), textSize, std::accumulate(turns.begin(), turns.end(), 0.0) * 1e3,
            turns.size(), turns[turns.size() * 99 / 100] * 1e3, turns.back() * 1e3,
            privateMegabytes() - begin, static_cast<double>(changes * textSize) / 1e6);
    }

    script = answer(R"({"results":[],"last_seq":9})");
    bool isPast = false;
    rig.loop.postAfter(5, [&] { isPast = true; });
    auto sleeps = sleepsOfThread();
    rig.loop.runUntil([&] { return isPast; });
    std::printf("5 seconds without a fetch: %ld wake-ups, one of them the end\n", sleepsOfThread() - sleeps);
    CloudRig::Fetch quiet;
    rig.container->addOperation(rig.operation(quiet, std::nullopt));
    sleeps = sleepsOfThread();
    rig.loop.runUntil([&] { return quiet.hasEnded; });
    std::printf("a fetch that brings nothing: %ld wake-ups\n", sleepsOfThread() - sleeps);
    return 0;
}
