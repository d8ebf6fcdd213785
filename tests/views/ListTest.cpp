#include <gtest/gtest.h>

#include <algorithm>

#include "core/history/HistorySearch.h"
#include "core/history/Store.h"
#include "core/transforms/TextTransform.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/LocalizedText.h"
#include "shell/StatusBarController.h"
#include "support/HeadlessTest.h"
#include "view/TreeUnderTest.h"
#include "views/list/ClipboardListView.h"

namespace vellumix {
namespace {

using namespace view;
using Kind = ClipboardItem::Kind;
using Status = AuthenticationManager::Result::Status;

/// The list over a store of its own, worked by keys and pointer; access is answered as a test wants.
class ListTest : public HeadlessTest {
protected:
    void open(const std::vector<std::string>& texts) {
        for (auto text = texts.rbegin(); text != texts.rend(); ++text) store.add(textItem(*text));
        const ClipboardListView view{
            .onPasteAndClose =
                [this](const ClipboardItem& item) { done += "paste " + item._text->string() + " "; },
            .onLock = [this](const ClipboardItem& item) { store.setLocked(item, true); },
            .onUnlock = [this](const ClipboardItem&) { done += "keep "; },
            .onRequestUnlock =
                [this](const ClipboardItem&, const String& reason, ClipboardListView::Answer answer) {
                    reasons.push_back(reason.string());
                    AuthenticationManager::Result result;
                    result.status = access;
                    answer(result);
                },
        };
        list = std::make_unique<TreeUnderTest>(View(view).environment(&store), Surface{{420, 500}});
    }
    void pass(double seconds) {
        desktop.runLoop.advance(seconds);
        list->frame(seconds);
        list->frame(0.5);
    }
    void type(const std::string& text) {
        for (const char letter : text) list->press(Key::character, {}, std::string(1, letter));
    }
    /// The labels of the cards, the selected one in brackets.
    std::string cards() {
        list->frame();
        std::string all;
        collect(list->tree->semantics(), all);
        return all;
    }
    /// As soon as what comes or goes has done so.
    bool shows(std::string_view text) {
        list->frame();
        list->frame(0.5);
        return list->has(Role::text, text);
    }

    Store store;
    Status access = Status::success;
    std::string done;
    std::vector<std::string> reasons;
    std::unique_ptr<TreeUnderTest> list;

private:
    static void collect(const SemanticNode& node, std::string& all) {
        if (node.role == Role::listItem) {
            all += node.state.isSelected ? "[" + node.label.string() + "]" : node.label.string();
            all += ' ';
        }
        for (const auto& child : node.children) collect(child, all);
    }
};

TEST_F(ListTest, ArrowsReturnSpaceAndDeleteWorkOnTheSelectedEntry) {
    open({"one", "two", "three"});
    EXPECT_EQ(cards(), "[one] two three ");
    EXPECT_TRUE(list->press(Key::up)) << "handled also where it changes nothing";
    list->press(Key::down);
    list->press(Key::enter);
    EXPECT_EQ(done, "paste two ");
    EXPECT_TRUE(shows("Pasted"));
    EXPECT_EQ(reasons, std::vector<std::string>{localized("auth.pasteItem")});

    for (int press = 0; press < 4; ++press) list->press(Key::down);
    EXPECT_EQ(cards(), "one two [three] ") << "no wrapping";
    list->press(Key::deleteForward);
    const auto alert = list->tree->alert();
    ASSERT_TRUE(alert);
    EXPECT_EQ(store.items()->size(), 3u) << "not before the question is answered";
    EXPECT_EQ(alert->description.title, localized("alert.deleteItem.title"));
    ASSERT_EQ(alert->description.buttons.size(), 2U);
    EXPECT_EQ(alert->description.buttons[0].title, localized("cancel"));
    EXPECT_EQ(alert->description.buttons[0].role, AlertButton::Role::cancel);
    EXPECT_EQ(alert->description.buttons[1].title, localized("delete"));
    EXPECT_EQ(alert->description.buttons[1].role, AlertButton::Role::destructive);
    alert->isPresented.set(false);
    alert->description.buttons.back().action();
    EXPECT_EQ(cards(), "one [two] ") << "the selection stays within the list";
    EXPECT_FALSE(list->tree->alert());
}

TEST_F(ListTest, TypingAnywhereSearchesAndTheArrowsGoOnFromThere) {
    open({"apple pie", "Pear", "apple JUICE"});
    type("ap");
    EXPECT_EQ(cards(), "[apple pie] apple JUICE ");
    EXPECT_EQ(list->find(Role::textField, localized("action.search")).value, "ap");
    list->press(Key::down);
    list->press(Key::space, {}, " ");
    type("j");
    EXPECT_EQ(cards(), "") << "a blank belongs to the search once it has begun";
    EXPECT_TRUE(shows(localized("empty.noResults")));
    EXPECT_FALSE(list->press(Key::enter)) << "nothing to paste";
    list->press(Key::backspace);
    list->press(Key::backspace);
    list->press(Key::enter);
    EXPECT_EQ(done, "paste apple JUICE ") << "selected again, as it was";
    list->click(Role::radioButton, localized("category.link"));
    EXPECT_EQ(cards(), "");
}

TEST_F(ListTest, ALetterHasFoundWhatItFindsBeforeAnythingIsDrawn) {
    open({"one", "two", "three"});
    store.setLocked(store.items()->back(), true);
    list->frame();
    auto reads = desktop.keychain.reads;
    list->tree->keyPressed({Key::character, "t", {}});
    EXPECT_EQ(desktop.keychain.reads, ++reads);
    list->tree->keyPressed({Key::character, "w", {}});
    list->tree->keyPressed({Key::enter, {}, {}});
    EXPECT_EQ(done, "paste two ") << "and not what is still shown";
    EXPECT_EQ(cards(), "[two] ");
    EXPECT_EQ(desktop.keychain.reads, reads);
    store.add(textItem("twin"));
    EXPECT_EQ(cards(), "[twin] two ") << "a search goes on among other entries";

    HistorySearch::shared().forget();
    store.add(textItem("other"));
    reads = desktop.keychain.reads;
    EXPECT_EQ(cards().find("[other] twin one two "), 0U) << "it ended with the panel";
    EXPECT_EQ(desktop.keychain.reads, reads);
}

TEST_F(ListTest, KeysGoIntoTheSelectedEntryAndOnToTheNext) {
    open({"one", "two", "three"});
    const auto entry = [&](const char* text) { return list->find(Role::listItem, text).state; };
    list->press(Key::down);
    for (const auto key : {Key::right, Key::tab}) {
        list->press(key);
        EXPECT_TRUE(entry("two").isFocused);
        const bool wasExpanded = entry("two").isExpanded;
        list->press(Key::space);
        EXPECT_NE(entry("two").isExpanded, wasExpanded);
        list->press(Key::up);
        EXPECT_FALSE(entry("two").isFocused) << "the keys are the list's again";
        list->press(Key::down);
    }
    list->press(Key::right);
    list->press(Key::right);
    list->press(Key::enter);
    EXPECT_EQ(done, "paste two ") << "by its thumbnail";
    EXPECT_EQ(reasons.size(), 1U) << "and nothing was copied meanwhile";
    const auto rings = list->drawn<draw::Stroke>();
    EXPECT_TRUE(std::ranges::any_of(rings, [&](const draw::Stroke& ring) {
        const auto thumbnail = list->find(Role::listItem, "two").children.front();
        return ring.width == 2 && ring.rect == thumbnail.frame.inset(-3);
    })) << "the focus is to be seen";
    list->press(Key::down);
    list->press(Key::space);
    EXPECT_EQ(desktop.pasteboard.stringForType(NSPasteboardTypeString), String("three"));
}

TEST_F(ListTest, AccessComesBeforeEveryUseOfAnEntry) {
    struct Case {
        Status status;
        const char* toast;
        double seconds;
    };
    const Case cases[] = {{Status::cancelled, "auth.cancelled", 1.5},
                          {Status::unavailable, "auth.unavailable", 2.5},
                          {Status::failed, "auth.failed", 2.0}};
    open({"secret"});
    store.setLocked(store.items()->front(), true);
    for (const auto& [status, toast, seconds] : cases) {
        access = status;
        list->press(Key::space);
        list->press(Key::enter);
        list->click(Role::button, localized("action.unlock"));
        EXPECT_EQ(done, "");
        EXPECT_TRUE(shows(localized(toast)));
        pass(seconds - 0.01);
        EXPECT_TRUE(shows(localized(toast)));
        pass(0.02);
        EXPECT_FALSE(shows(localized(toast)));
    }
    EXPECT_EQ(reasons.size(), 9u);
    access = Status::success;
    list->click(Role::button, localized("action.unlock"));
    EXPECT_EQ(done, "keep ");
}

TEST_F(ListTest, EachActionAndEachEventIsToldForItsTime) {
    open({"words"});
    const auto choose = [&](TextTransform transform) {
        const auto observer = [=](const MenuRequest& menu) {
            menu.items[static_cast<std::size_t>(transform)].action();
        };
        list->tree->onMenu(observer);
        list->click(Role::menuButton, localized("transform.menu"));
    };
    const auto happens = [this](const char* event) {
        return [this, event] {
            NotificationCenter::defaultCenter().post(event);
            desktop.runLoop.advance(0);
        };
    };
    const struct {
        const char* toast;
        double seconds;
        std::function<void()> act;
    } cases[] = {
        {"message.copied", 1.5, [&] { list->press(Key::space); }},
        {"message.pasted", 1.2, [&] { list->press(Key::enter); }},
        {"transform.applied", 1.5, [&] { choose(TextTransform::uppercase); }},
        {"transform.failed", 2.0, [&] { choose(TextTransform::jsonFormat); }},
        {"message.itemLocked", 1.5, [&] { list->click(Role::button, localized("action.lock")); }},
        {"message.itemUnlocked", 1.5, [&] { list->click(Role::button, localized("action.unlock")); }},
        {"message.itemRemoved", 1.5,
         [&] {
             list->press(Key::deleteForward);
             list->tree->alert()->description.buttons.back().action();
         }},
        {"message.historyCleared", 1.5, happens("HistoryCleaned")},
        {"permission.accessibility.title", 2.0, happens("AutoPasteFailed")},
        {"message.fileGone", 3.0, happens("FileGone")},
        {"message.copyNotRecorded", 2.5, happens("CaptureFailed")},
        {"error.encryption.failed", 2.5, happens("EncryptionFailed")},
    };
    for (const auto& each : cases) {
        EXPECT_FALSE(shows(localized(each.toast)));
        each.act();
        EXPECT_TRUE(shows(localized(each.toast))) << each.toast;
        pass(each.seconds - 0.01);
        EXPECT_TRUE(shows(localized(each.toast))) << each.toast << " goes too soon";
        pass(0.02);
        EXPECT_FALSE(shows(localized(each.toast))) << each.toast << " stays too long";
    }
}

TEST_F(ListTest, WhatIsSharedIsTheEntrysOwnKindOfThing) {
    const auto png = [] {
        auto item = imageItem("");
        item._imageData = tinyPNG();
        return item;
    }();
    auto lost = fileItem("/home/ana/notes.txt");
    lost._fileURL.reset();
    auto locked = textItem("secret");
    locked.locked = true;
    using Kind = ClipboardItem::Kind;
    const std::pair<ClipboardItem, std::vector<SharedItem>> cases[] = {
        {textItem("words"), {String("words")}},
        {textItem("int a;", Kind::code), {String("int a;")}},
        {textItem("https://example.org/a", Kind::link), {*URL::parse("https://example.org/a")}},
        {textItem("no address", Kind::link), {String("no address")}},
        {png, {tinyPNG()}},
        {imageItem("broken"), {}},
        {fileItem("/home/ana/notes.txt"), {URL::file("/home/ana/notes.txt")}},
        {lost, {}},
        {locked, {}},
    };
    open({});
    list->tree->onMenu([](const MenuRequest& menu) { menu.items.front().action(); });
    for (const auto& [item, shared] : cases) {
        store.replaceAll({item});
        desktop.sharing.performed.clear();
        list->frame(1);
        list->click(Role::menuButton, localized("action.share"));
        const auto& performed = desktop.sharing.performed;
        EXPECT_EQ(performed.empty() ? std::vector<SharedItem>() : performed.front().second, shared)
            << rawValue(item.kind);
    }
}

TEST_F(ListTest, KeysWithModifiersAreNotTheListsButControlAndFSearches) {
    open({"one", "two"});
    for (const auto held : {KeyModifiers{.hasControl = true}, KeyModifiers{.hasOption = true},
                            KeyModifiers{.hasCommand = true}}) {
        for (const auto key : {Key::enter, Key::space, Key::down, Key::deleteForward})
            EXPECT_FALSE(list->press(key, held));
        EXPECT_FALSE(list->press(Key::character, held, "x"));
    }
    EXPECT_EQ(cards(), "[one] two ");
    const auto search = [&] { return list->find(Role::textField, localized("action.search")); };
    EXPECT_FALSE(search().state.isFocused);
    EXPECT_TRUE(list->tree->keyPressed({.modifiers = {.hasControl = true}, .character = "f"}));
    EXPECT_TRUE(search().state.isFocused);

    type("o");
    list->press(Key::backspace);
    EXPECT_FALSE(search().state.isFocused) << "nothing is left of the search, so the keys are the list's";
    list->press(Key::space, {}, " ");
    EXPECT_EQ(desktop.pasteboard.stringForType(NSPasteboardTypeString), String("one"));
    EXPECT_EQ(search().value, "");
}

TEST_F(ListTest, AnEarlierMessageTakesALaterOneWithIt) {
    open({"x"});
    list->press(Key::space);
    pass(1.0);
    NotificationCenter::defaultCenter().post("EncryptionFailed");
    desktop.runLoop.advance(0);
    EXPECT_TRUE(shows(localized("error.encryption.failed")));
    pass(0.6);
    EXPECT_FALSE(shows(localized("error.encryption.failed")));
}

TEST_F(ListTest, AFailureIsSaidAfterWhatTheActionSaysOfItself) {
    open({"one", "two", "three"});
    store.setLocked(store.items()->front(), true);
    desktop.keychain.refusal = errSecInteractionNotAllowed;
    const std::pair<const char*, std::function<void()>> actions[] = {
        {"message.itemLocked", [&] { list->click(Role::button, localized("action.lock")); }},
        {"message.copied", [&] { list->click(Role::button, localized("action.copy")); }},
        {"message.itemRemoved",
         [&] {
             list->press(Key::deleteForward);
             list->tree->alert()->description.buttons.back().action();
         }},
    };
    for (const auto& [toast, act] : actions) {
        desktop.log.lines.clear();
        act();
        ASSERT_TRUE(desktop.log.contains("Encryption: ")) << toast;
        EXPECT_TRUE(shows(localized(toast))) << toast;
        desktop.runLoop.advance(0);
        EXPECT_TRUE(shows(localized("error.encryption.failed"))) << toast;
        pass(1.4);
        EXPECT_TRUE(shows(localized("error.encryption.failed"))) << toast << ": it stays";
        pass(3);
    }
}

TEST_F(ListTest, TransformsGoToThePasteboardAndFailuresDoNot) {
    open({"not json"});
    const auto choose = [&](TextTransform transform) {
        std::optional<MenuRequest> menu;
        list->tree->onMenu([&](MenuRequest request) { menu = std::move(request); });
        list->click(Role::menuButton, localized("transform.menu"));
        ASSERT_TRUE(menu);
        menu->items[static_cast<std::size_t>(transform)].action();
    };
    const auto before = desktop.pasteboard.changeCount();
    choose(TextTransform::jsonFormat);
    EXPECT_TRUE(shows(localized("transform.failed")));
    EXPECT_EQ(desktop.pasteboard.changeCount(), before);
    choose(TextTransform::uppercase);
    EXPECT_EQ(desktop.pasteboard.stringForType(NSPasteboardTypeString), String("NOT JSON"));
}

TEST_F(ListTest, NewEntriesComeIntoSightAndTheSelectionStaysInside) {
    std::vector<std::string> many;
    for (int at = 0; at < 60; ++at) many.push_back("entry " + std::to_string(at));
    open(many);
    EXPECT_EQ(cards().find("[entry 0]"), 0u) << "it begins at its beginning";
    for (int press = 0; press < 40; ++press) list->press(Key::down);
    pass(1);
    EXPECT_NE(cards().find("[entry 40]"), std::string::npos) << "scrolled to";
    const double top = 8 + list->find(Role::scrollArea, "").frame.minY();
    store.add(textItem("fresh"));
    pass(1);
    EXPECT_EQ(cards().find("fresh"), 0u);
    EXPECT_EQ(list->find(Role::listItem, "fresh").frame.minY(), top) << "with the room above it";
    list->tree->scrolled({200, 300}, 500);
    pass(1);
    NotificationCenter::defaultCenter().post(StatusBarController::panelOpens);
    pass(1);
    EXPECT_EQ(list->find(Role::listItem, "fresh").frame.minY(), top) << "each time that the panel opens";
    store.clear();
    pass(1);
    EXPECT_TRUE(shows(localized("empty.noItems")));
    store.add(textItem("again"));
    pass(1);
    EXPECT_EQ(cards(), "[again] ");
}

}  // namespace
}  // namespace vellumix
