// What the main loop does with a text takes time in proportion to its length, whatever it holds: a text that
// says the input over and over costs as much a byte when it is long as when it is short.

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/capture/TextClassification.h"
#include "core/transforms/TextTransform.h"
#include "platform/foundation/text/CaselessText.h"
#include "platform/foundation/text/Unicode.h"

using namespace vellumix;

namespace {

constexpr std::size_t shortSize = 4096;
constexpr std::size_t longSize = 8 * shortSize;

std::string repeated(std::string_view part, std::size_t size) {
    std::string text = "Z";
    while (text.size() < size) text += part;
    return text;
}

/// In seconds of the processor.
double now() {
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double costOf(const std::string& raw, std::string_view part) {
    const auto start = now();
    const auto text = repairedUTF8(raw);
    const auto valid = repairedUTF8(part);
    CaselessText(valid + '%').isIn(text);
    CaselessText(valid + valid + "Z").isIn(text);
    canonicallyEqual(text, text.substr(0, text.size() - 1));
    canonicallyEqual(text, lowercased(text));
    classify(text);
    graphemeBoundaryBefore(text, text.size() / 2);
    wordStartBefore(text, text.size());
    trimmedOfWhitespaceAndNewlines(text);
    for (const auto transform : allTextTransforms) vellumix::apply(transform, text);
    return now() - start;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    constexpr std::size_t longestPart = 64;
    // Of what is over so soon, nothing can be said.
    constexpr double tooShortToTell = 0.01;
    // What grows with the square would have eight.
    constexpr double mostGrowth = 4;
    const std::string part(reinterpret_cast<const char*>(bytes), std::min(size, longestPart));
    if (part.empty()) return 0;
    const auto few = repeated(part, shortSize);
    const auto many = repeated(part, longSize);
    double growth = 0;
    // Something else may have held the machine up.
    for (int attempt = 0; attempt < 5; ++attempt) {
        const auto cost = costOf(many, part);
        if (cost < tooShortToTell) return 0;
        growth = cost * shortSize / (costOf(few, part) * longSize);
        if (growth < mostGrowth) return 0;
    }
    std::fprintf(stderr, "a byte costs %.1f times as much in the longer text\n", growth);
    std::abort();
}
