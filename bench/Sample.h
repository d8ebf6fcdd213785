#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "core/ClipboardItem.h"
#include "platform/foundation/RunLoop.h"

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

inline ClipboardItem imageEntry() {
    Bytes bytes(1 << 20);
    std::ranges::generate(bytes, [] { return static_cast<std::uint8_t>(randomness()()); });
    ClipboardItem item{
        .id = UUID::random(), .date = RunLoop::main().now(), .kind = ClipboardItem::Kind::image};
    item._imageData = Data(std::move(bytes));
    return item;
}

/// 180 texts of 1 to 5 KB and 20 images of 1 MB.
inline std::vector<ClipboardItem> fullHistory() {
    std::vector<ClipboardItem> items;
    std::generate_n(std::back_inserter(items), 20, imageEntry);
    std::generate_n(std::back_inserter(items), 180, textEntry);
    return items;
}

inline double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

}  // namespace vellumix::bench
