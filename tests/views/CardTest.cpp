#include <gtest/gtest.h>

#include "shell/settings/ThemeManager.h"
#include "support/HeadlessTest.h"
#include "view/TreeUnderTest.h"
#include "views/card/ClipboardCard.h"

namespace vellumix {
namespace {

using namespace view;
using Kind = ClipboardItem::Kind;

/// A card in a tree, and what it has asked for.
class CardTest : public HeadlessTest {
protected:
    TreeUnderTest show(const ClipboardItem& item) {
        const auto note = [this](const char* word) { return [this, word] { done += word; }; };
        return TreeUnderTest(
            ScrollArea(ClipboardCard{
                .item = item,
                .onPaste = note("paste "),
                .onCopy = note("copy "),
                .onDelete = note("delete "),
                .onPin = note("pin "),
                .onLock = note("lock "),
                .onShareItems = [this] { return shared; },
                .onTransform = [this](TextTransform transform,
                                      const String& text) { done += *apply(transform, text) + " "; },
            }),
            {{460, 400}});
    }
    static void clickAt(TreeUnderTest& card, Point at) {
        card.tree->pointerPressed({at});
        card.tree->pointerReleased(at);
        card.frame();
    }
    static std::vector<std::string> labels(const MenuRequest& menu) {
        std::vector<std::string> all;
        for (const auto& item : menu.items) all.push_back(item.title.string());
        return all;
    }

    std::string done;
    std::vector<SharedItem> shared;
};

TEST_F(CardTest, LockedEntryShowsAndReadsNothing) {
    auto item = textItem("the safe is behind the painting");
    item.locked = item.pinned = true;
    item.encryptContent();
    ASSERT_TRUE(item.isEncrypted);
    const int reads = desktop.keychain.reads;

    auto card = show(item);
    card.hover(Role::text, "Locked");
    card.frame(1);
    card.click(Role::text, "Locked");
    EXPECT_EQ(desktop.keychain.reads, reads);
    EXPECT_EQ(card.tree->semanticsDump().find("painting"), std::string::npos);
    EXPECT_TRUE(card.has(Role::text, "Pinned"));
    EXPECT_FALSE(card.has(Role::menuButton, "Transform"));
    card.click(Role::button, "Copy");
    card.click(Role::button, "Unlock");
    card.click(Role::button, "Unpin");
    EXPECT_EQ(done, "copy lock pin ");
}

TEST_F(CardTest, TheSymbolsTellWhatAButtonFoundAndItsNameWhatItDoes) {
    const struct {
        bool locked, pinned;
        const char* lock;
        const char* lockName;
        const char* pin;
        const char* pinName;
    } cases[] = {{false, false, "lock.open", "Lock", "pin", "Pin"},
                 {true, false, "lock.fill", "Unlock", "pin", "Pin"},
                 {false, true, "lock.open", "Lock", "pin.fill", "Unpin"},
                 {true, true, "lock.fill", "Unlock", "pin.fill", "Unpin"}};
    for (const auto& each : cases) {
        auto item = textItem("words");
        item.locked = each.locked;
        item.pinned = each.pinned;
        auto card = show(item);
        const auto symbolOf = [&](const char* button) {
            const auto frame = card.find(Role::button, button).frame;
            std::string found;
            for (const auto& symbol : card.drawn<draw::Symbol>()) {
                if (frame.contains(symbol.rect.centre())) found += symbol.name;
            }
            return found;
        };
        EXPECT_EQ(symbolOf(each.lockName), each.lock);
        EXPECT_EQ(symbolOf(each.pinName), each.pin);
        EXPECT_EQ(symbolOf("Delete"), "trash");
        EXPECT_EQ(card.has(Role::text, "Pinned"), each.pinned);
        EXPECT_EQ(card.find(Role::button, each.lockName).help, each.lockName);
    }
}

TEST_F(CardTest, ThumbnailPastesAndTheRestExpands) {
    auto card = show(textItem("one\ntwo\nthree\nfour"));
    const auto cardNode = [&] { return card.find(Role::listItem, "one\ntwo\nthree\nfour"); };
    const double collapsed = cardNode().frame.size.height;
    card.click(Role::image, "Text");
    card.click(Role::button, "Delete");
    EXPECT_EQ(done, "paste delete ");
    EXPECT_FALSE(cardNode().state.isExpanded);
    EXPECT_EQ(card.drawn<draw::Text>().front().layout->lineCount(), 2);

    // Beside the text, in the card's padding.
    clickAt(card, {cardNode().frame.maxX() - 4, cardNode().frame.maxY() - 4});
    card.frame(1);
    EXPECT_TRUE(cardNode().state.isExpanded);
    EXPECT_EQ(card.drawn<draw::Text>().front().layout->lineCount(), 4);
    EXPECT_GT(cardNode().frame.size.height, collapsed + 20);
    clickAt(card, {cardNode().frame.maxX() - 4, cardNode().frame.maxY() - 4});
    EXPECT_FALSE(cardNode().state.isExpanded);
    EXPECT_EQ(done, "paste delete ");
}

TEST_F(CardTest, KeysAndAssistiveTechnologyExpandAndPasteToo) {
    auto card = show(textItem("one\ntwo\nthree"));
    const auto cardNode = [&] { return card.find(Role::listItem, "one\ntwo\nthree"); };
    card.press(Key::tab);
    EXPECT_TRUE(cardNode().state.isFocused);
    EXPECT_EQ(card.drawn<draw::Stroke>().back().rect, cardNode().frame.inset(-3)) << "the ring shows it";
    card.press(Key::space);
    EXPECT_TRUE(cardNode().state.isExpanded);
    card.press(Key::enter);
    EXPECT_FALSE(cardNode().state.isExpanded);
    card.press(Key::tab);
    card.press(Key::enter);
    EXPECT_EQ(done, "paste ");

    ASSERT_EQ(cardNode().actions.size(), 1U);
    cardNode().actions.front().perform();
    EXPECT_TRUE(cardNode().state.isExpanded);
    const auto thumbnail = card.find(Role::image, "Text");
    ASSERT_EQ(thumbnail.actions.size(), 1U);
    thumbnail.actions.front().perform();
    EXPECT_EQ(done, "paste paste ");
}

TEST_F(CardTest, AnAgeKeepsItsUnitHoweverNarrowTheCardIs) {
    auto item = textItem("a");
    desktop.runLoop.advance(59 * 60);
    for (const bool isPinned : {false, true}) {
        item.pinned = isPinned;
        auto card = show(item);
        for (double width = 460; width >= 288; width -= 4) {
            card.tree->setSurface({{width, 400}});
            // The text, the age, and beside a pin the word that says the same.
            const auto texts = card.drawn<draw::Text>();
            ASSERT_EQ(texts.size(), isPinned ? 3U : 2U);
            EXPECT_FALSE(texts[1].layout->isTruncated()) << width;
        }
    }
}

TEST_F(CardTest, TickStaysOneSecondFromTheFirstCopy) {
    auto card = show(textItem("a"));
    const auto fillOfButton = [&] {
        card.frame(1);
        const auto at = card.find(Role::button, "Copy").frame;
        for (const auto& fill : card.drawn<draw::Fill>()) {
            if (fill.rect == at) return fill.color;
        }
        return Color::clear();
    };
    card.click(Role::button, "Copy");
    const auto ticked = fillOfButton();
    EXPECT_GT(ticked.green, ticked.red);
    desktop.runLoop.advance(0.7);
    card.click(Role::button, "Copy");
    desktop.runLoop.advance(0.2);
    EXPECT_EQ(fillOfButton(), ticked);
    desktop.runLoop.advance(0.2);
    EXPECT_NE(fillOfButton(), ticked);
    EXPECT_EQ(done, "copy copy ");
}

TEST_F(CardTest, EachKindIsNamedAndOffersWhatItCan) {
    auto nameless = fileItem("/home/ana/notes.txt");
    nameless._fileURL.reset();
    const auto image = [](const Data& bytes) {
        auto item = imageItem("");
        item._imageData = bytes;
        return item;
    };
    const struct {
        ClipboardItem item;
        const char* label;
        bool transforms;
    } cases[] = {
        {textItem("plain"), "plain", true},
        {textItem("https://example.org", Kind::link), "https://example.org", true},
        {textItem("int a;", Kind::code), "int a;", true},
        {fileItem("/home/ana/notes.txt"), "notes.txt", false},
        {nameless, "File", false},
        {image(tinyPNG()), "1 × 1 px", false},
        {imageItem("broken"), "Image", false},
    };
    for (const auto& each : cases) {
        auto card = show(each.item);
        desktop.runLoop.settle();
        EXPECT_TRUE(card.has(Role::listItem, each.label));
        EXPECT_TRUE(card.has(Role::text, each.label));
        EXPECT_EQ(card.has(Role::menuButton, "Transform"), each.transforms) << each.label;
        EXPECT_TRUE(card.has(Role::text, "Just now"));
    }
}

TEST_F(CardTest, AFileThatIsGoneIsSaidToBe) {
    desktop.trash.missing["/home/ana/notes.txt"] = std::nullopt;
    for (const auto& [path, isGone] :
         {std::pair("/home/ana/notes.txt", true), {"/home/ana/kept.txt", false}}) {
        auto card = show(fileItem(path));
        EXPECT_FALSE(card.has(Role::text, "The file is gone"));
        desktop.runLoop.settle();
        EXPECT_EQ(card.has(Role::text, "The file is gone"), isGone) << path;
    }
}

TEST_F(CardTest, MenusTransformAndShare) {
    auto card = show(textItem("Ana"));
    std::vector<MenuRequest> menus;
    card.tree->onMenu([&](const MenuRequest& menu) { menus.push_back(menu); });

    card.click(Role::menuButton, "Transform");
    ASSERT_EQ(menus.size(), 1U);
    ASSERT_EQ(menus[0].items.size(), allTextTransforms.size());
    EXPECT_EQ(menus[0].items[0].title, "UPPER CASE");
    menus[0].items[0].action();
    EXPECT_EQ(done, "ANA ");

    card.click(Role::menuButton, "Share");
    EXPECT_EQ(menus.size(), 1U) << "there is nothing to share";
    shared = {String("Ana")};
    card.click(Role::menuButton, "Share");
    ASSERT_EQ(menus.size(), 2U);
    EXPECT_EQ(labels(menus[1]),
              (std::vector<std::string>{"Open", "Send by Mail…", "Save a Copy", "Copy Path"}));
    shared.clear();
    menus[1].items[2].action();
    ASSERT_EQ(desktop.sharing.performed.size(), 1U);
    EXPECT_EQ(desktop.sharing.performed[0].first, SharingServices::Service::saveCopy);
    EXPECT_EQ(desktop.sharing.performed[0].second, std::vector<SharedItem>{String("Ana")});
    EXPECT_FALSE(card.find(Role::listItem, "Ana").state.isExpanded);
}

TEST_F(CardTest, LongTextIsCutBetweenCharactersUntilItIsExpanded) {
    std::string text;
    while (text.size() < 1'000'000) text += "e\u0301";
    auto card = show(textItem(text));
    const auto window = card.tree->semantics();
    const std::function<const SemanticNode*(const SemanticNode&)> longest = [&](const SemanticNode& node) {
        const auto* found = &node;
        for (const auto& child : node.children) {
            const auto* inside = longest(child);
            if (inside->label.size() > found->label.size()) found = inside;
        }
        return found;
    };
    const auto shown = longest(window)->label;
    EXPECT_GT(shown.size(), 1'100U);
    EXPECT_LE(shown.size(), 1'200U);
    EXPECT_EQ(shown.size() % 3, 0U);
}

TEST_F(CardTest, TextWithoutAVisibleSignSaysWhatItIs) {
    const struct {
        std::string text;
        std::string said;
    } cases[] = {
        {"\x01\u2029", "Invisible characters: U+0001 U+2029"},
        {"\u200b", "Invisible characters: U+200B"},
        {"\u2800\u200d\u2800", "Invisible characters: U+2800 U+200D"},
        {"\u202a\u202b\u202c\u202d\u202e", "Invisible characters: U+202A U+202B U+202C U+202D \u2026"},
        {"\u3164\ufe0f\u034f", "Invisible characters: U+3164 U+FE0F U+034F"},
        {"\u200bx", "\u200bx"},
        {"\u06dd", "\u06dd"},
        {"\u0301", "\u0301"},
    };
    for (const auto& each : cases) {
        auto card = show(textItem(each.text));
        EXPECT_TRUE(card.has(Role::listItem, each.said)) << each.said;
        EXPECT_TRUE(card.has(Role::text, each.said)) << each.said;
    }
}

TEST_F(CardTest, AllOfALongTextIsThereAndSetAsItScrolls) {
    std::string text;
    for (int line = 0; line < 20'000; ++line) text += "line " + std::to_string(line) + '\n';
    text += std::string(3'000, 'm') + " the end";
    auto card = show(textItem(text));
    clickAt(card, {456, 28});  // beside the buttons
    card.frame(1);
    card.tree->scrolled({200, 200}, 1'900);
    card.frame(1);
    std::vector<std::string> pieces;
    const std::function<void(const SemanticNode&)> collect = [&](const SemanticNode& node) {
        const bool isPiece = node.label.view().starts_with("line ") || node.label.view().ends_with("the end");
        if (isPiece && node.children.empty() && node.role == Role::text)
            pieces.push_back(node.label.string());
        for (const auto& child : node.children) collect(child);
    };
    collect(card.tree->semantics());
    ASSERT_GE(pieces.size(), 2u);
    EXPECT_LE(pieces.size(), 40u) << "no more than are in sight";
    EXPECT_TRUE(text.starts_with(pieces[0] + '\n' + pieces[1] + '\n')) << "nothing is lost between them";

    for (int round = 0; round < 20; ++round) {
        card.tree->scrolled({200, 200}, 1e7);
        card.frame();
    }
    pieces.clear();
    collect(card.tree->semantics());
    ASSERT_FALSE(pieces.empty());
    EXPECT_TRUE(text.ends_with(pieces.back()));
    EXPECT_LE(pieces.back().size(), 2'100u);
}

}  // namespace
}  // namespace vellumix
