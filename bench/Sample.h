#pragma once

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "core/history/ClipboardItem.h"
#include "platform/foundation/loop/RunLoop.h"

namespace vellumix::bench {

inline std::mt19937_64& randomness() {
    static std::mt19937_64 source(1);
    return source;
}

/// Words, addresses and lines, with what JSON escapes among them.
inline std::string someText(std::size_t size) {
    static constexpr std::string_view words[] = {
        "copied ", "https://example.org/", "\"quoted\" ", "line\n", "väl ", "0x7f, "};
    std::string text;
    while (text.size() < size) text += words[randomness()() % std::size(words)];
    return text;
}

inline ClipboardItem textEntry() {
    ClipboardItem item{
        .id = UUID::random(), .date = RunLoop::main().now(), .kind = ClipboardItem::Kind::text};
    item._text = String(someText(1024 + randomness()() % 4096));
    return item;
}

inline ClipboardItem imageEntry(std::size_t size) {
    Bytes bytes(size);
    std::independent_bits_engine<std::mt19937_64, 64, std::uint64_t> words(randomness()());
    for (std::size_t at = 0; at < size; at += sizeof(std::uint64_t)) {
        const auto word = words();
        std::memcpy(bytes.data() + at, &word, std::min(sizeof word, size - at));
    }
    ClipboardItem item{
        .id = UUID::random(), .date = RunLoop::main().now(), .kind = ClipboardItem::Kind::image};
    item._imageData = Data(std::move(bytes));
    return item;
}

/// 180 texts of 1 to 5 KB and images of that many bytes.
inline std::vector<ClipboardItem> historyOf(int imageCount, std::size_t imageSize) {
    std::vector<ClipboardItem> items;
    std::generate_n(std::back_inserter(items), imageCount, [&] { return imageEntry(imageSize); });
    std::generate_n(std::back_inserter(items), 180, textEntry);
    return items;
}

inline double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

}  // namespace vellumix::bench
