#include "delivery/PasteDelivery.h"

#include "core/capture/PasteboardWatcher.h"
#include "core/history/Store.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using Kind = ClipboardItem::Kind;

class PasteDeliveryTest : public HeadlessTest {
protected:
    std::size_t pastes() const { return desktop.syntheticKeys.posted.size(); }
    std::string pasted(std::size_t at) const {
        const auto& posting = desktop.syntheticKeys.posted.at(at);
        return std::to_string(posting.to) + ": " + (posting.text ? posting.text->string() : "-");
    }

    const NSRunningApplication editor{.processIdentifier = 7, .bundleIdentifier = "editor"};
    const NSRunningApplication browser{.processIdentifier = 8, .bundleIdentifier = "browser"};
};

TEST_F(PasteDeliveryTest, TheKeystrokeGoesOutWhenTheTargetIsThere) {
    struct Case {
        const char* name;
        std::optional<NSRunningApplication> target;
        /// When the target comes to the front; never if negative.
        double comesAfter;
        /// The keystroke is still missing after the one and there after the other.
        double notYet;
        double latest;
        int goesTo;
    };
    const Case cases[] = {
        {"in front already", browser, 0, 0.019, 0.021, 8}, {"slow", editor, 0.3, 0.299, 0.321, 7},
        {"just in time", editor, 0.59, 0.589, 0.621, 7},   {"never there", editor, -1, 0.599, 0.641, 8},
        {"no target", std::nullopt, -1, 0.119, 0.121, 8},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        desktop.workspace.front = browser;
        desktop.workspace.isSlow = true;
        desktop.syntheticKeys.posted.clear();
        if (one.comesAfter >= 0) {
            desktop.runLoop.postAfter(one.comesAfter, [&] { desktop.workspace.front = one.target; });
        }
        deliverPaste(textItem("words"), one.target);
        desktop.runLoop.advance(one.notYet);
        EXPECT_EQ(pastes(), 0U);
        desktop.runLoop.advance(one.latest - one.notYet);
        ASSERT_EQ(pastes(), 1U);
        EXPECT_EQ(pasted(0), std::to_string(one.goesTo) + ": words");
        EXPECT_EQ(desktop.syntheticKeys.posted[0].chord, (KeyChord{9, 0x100000}));
        desktop.runLoop.advance(2);
        EXPECT_EQ(pastes(), 1U);
    }
}

TEST_F(PasteDeliveryTest, WithoutTheKeysTheEntryWaitsOnThePasteboard) {
    int failures = 0;
    const auto observation = NotificationCenter::defaultCenter().observe(
        "AutoPasteFailed", [&](const NotificationCenter::UserInfo&) { ++failures; });
    desktop.syntheticKeys.isTrusted = false;
    deliverPaste(textItem("words"), editor);
    desktop.runLoop.advance(2);
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(desktop.syntheticKeys.promptsShown, 1);
    EXPECT_EQ(pastes(), 0U);
    EXPECT_TRUE(desktop.workspace.activated.empty());
    EXPECT_EQ(desktop.pasteboard.stringForType(NSPasteboardTypeString), String("words"));
}

TEST_F(PasteDeliveryTest, OfTwoQuickPastesBothGoOutAndTheLaterWriteWins) {
    deliverPaste(textItem("one"), editor);
    desktop.runLoop.advance(0.01);
    deliverPaste(textItem("two"), editor);
    desktop.runLoop.advance(1);
    ASSERT_EQ(pastes(), 2U);
    EXPECT_EQ(pasted(0), "7: two");
    EXPECT_EQ(pasted(1), "7: two");
}

TEST_F(PasteDeliveryTest, WhatCantBeWrittenLeavesThePasteboardAndIsPastedAllTheSame) {
    desktop.pasteboard.copyElsewhere({.text = String("what was there")});
    ClipboardItem noFile = fileItem("/tmp/a");
    noFile._fileURL.reset();
    for (const auto& item : {imageItem("no picture"), noFile, textItem("", Kind::all)}) {
        deliverPaste(item, editor);
        desktop.runLoop.advance(1);
        EXPECT_EQ(pasted(pastes() - 1), "7: what was there");
    }
    ClipboardItem noText = textItem("");
    noText._text.reset();
    deliverPaste(noText, editor);
    desktop.runLoop.advance(1);
    EXPECT_EQ(pasted(pastes() - 1), "7: ");

    writeToPasteboard(fileItem("/tmp/a b"));
    EXPECT_EQ(desktop.pasteboard.readFileURLs(), std::vector<URL>{URL::file("/tmp/a b")});
    auto picture = imageItem("");
    picture._imageData = tinyPNG();
    writeToPasteboard(picture);
    EXPECT_EQ(desktop.pasteboard.dataForType(NSPasteboardTypeTIFF), tinyPNG());
}

TEST_F(PasteDeliveryTest, NothingOfAnEarlierCopyIsLeftBesideAnEntry) {
    auto picture = imageItem("");
    picture._imageData = tinyPNG();
    const struct {
        ClipboardItem item;
        bool hasText, hasImage, hasFiles;
    } cases[] = {{textItem("words"), true, false, false},
                 {textItem("https://example.org", Kind::link), true, false, false},
                 {textItem("int a;", Kind::code), true, false, false},
                 {picture, false, true, false},
                 {fileItem("/tmp/a"), false, false, true}};
    for (const auto& each : cases) {
        desktop.pasteboard.copyElsewhere(
            {.text = String("old"), .image = Data(std::string_view("old")), .files = {URL::file("/old")}});
        writeToPasteboard(each.item);
        const auto text = desktop.pasteboard.stringForType(NSPasteboardTypeString);
        const auto image = desktop.pasteboard.dataForType(NSPasteboardTypeTIFF);
        EXPECT_EQ(text, each.hasText ? each.item.text() : std::nullopt) << rawValue(each.item.kind);
        EXPECT_EQ(image, each.hasImage ? each.item.imageData() : std::nullopt) << rawValue(each.item.kind);
        EXPECT_EQ(desktop.pasteboard.readFileURLs().size(), each.hasFiles) << rawValue(each.item.kind);
    }
}

TEST_F(PasteDeliveryTest, OurOwnWriteIsNotRecordedAndTheNextCopyIs) {
    Store store;
    PasteboardWatcher watcher(store);
    watcher.start();
    deliverPaste(textItem("ours"), editor);
    desktop.runLoop.advance(1);
    EXPECT_TRUE(store.items()->empty());
    desktop.pasteboard.copyElsewhere({.text = String("theirs")});
    desktop.runLoop.advance(1);
    EXPECT_EQ(textsOf(store.items().get()), std::vector<std::string>{"theirs"});
}

}  // namespace
}  // namespace vellumix
