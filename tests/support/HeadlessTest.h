#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "core/history/ClipboardItem.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/headless/Desktop.h"

namespace vellumix {

/// A test with a headless desktop in force for its lifetime.
class HeadlessTest : public testing::Test {
protected:
    HeadlessTest() : HeadlessTest(NSPasteboard::Capabilities{}) {}
    explicit HeadlessTest(NSPasteboard::Capabilities capabilities)
        : desktop(capabilities), scope(desktop.platform()) {}

    static constexpr const char* historyPath = "/home/user/.local/share/Vellumix/history.json";

    std::string history() { return std::string(asText(desktop.files.files[historyPath])); }

    headless::Desktop desktop;
    platform::Scope scope;
};

inline ClipboardItem textItem(const std::string& text, ClipboardItem::Kind kind = ClipboardItem::Kind::text) {
    ClipboardItem item{.id = UUID::random(), .date = RunLoop::main().now(), .kind = kind};
    item._text = String(text);
    return item;
}

inline ClipboardItem fileItem(const std::string& path) {
    ClipboardItem item{
        .id = UUID::random(), .date = RunLoop::main().now(), .kind = ClipboardItem::Kind::file};
    item._fileURL = URL::file(path);
    item._text = String(item._fileURL->lastPathComponent());
    return item;
}

inline ClipboardItem imageItem(const std::string& bytes) {
    ClipboardItem item{
        .id = UUID::random(), .date = RunLoop::main().now(), .kind = ClipboardItem::Kind::image};
    item._imageData = Data(std::string_view(bytes));
    return item;
}

/// The texts of the entries, in order.
inline std::vector<std::string> textsOf(const std::vector<ClipboardItem>& items) {
    std::vector<std::string> texts;
    for (const auto& item : items) texts.push_back(item._text ? item._text->string() : std::string("-"));
    return texts;
}

/// A PNG of one pixel.
Data tinyPNG();

}  // namespace vellumix
