#include <gtest/gtest.h>

#include <algorithm>

#include "core/history/HistorySearch.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/LocalizedText.h"
#include "shell/AppDelegate.h"
#include "shell/StatusBarController.h"
#include "shell/settings/LanguageManager.h"
#include "shell/settings/RelativeTimestamp.h"
#include "support/HeadlessTest.h"
#include "view/TreeUnderTest.h"
#include "views/panel/RootContainerView.h"

namespace vellumix {
namespace {

using namespace view;

class RootTest : public HeadlessTest {
protected:
    RootTest() { application.store().replaceAll({textItem("one"), textItem("two")}); }

    /// How many layers are neither gone nor at rest.
    std::size_t layersUnderWay() {
        const auto layers = root.drawn<draw::PushLayer>();
        return static_cast<std::size_t>(std::ranges::count_if(
            layers, [](const auto& layer) { return layer.opacity > 0 && layer.opacity < 1; }));
    }

    AppDelegate application;
    TreeUnderTest root{View(RootContainerView{}).environment(&application.store()).environment(&application),
                       {{520, 450}}};
};

TEST_F(RootTest, OnePageFadesIntoTheOther) {
    root.click(Role::button, "Settings");
    root.frame(0.1);
    EXPECT_GE(layersUnderWay(), 2U) << "the page that goes, and the page that comes";
    root.frame(0.3);
    EXPECT_EQ(layersUnderWay(), 0U);
    EXPECT_FALSE(root.has(Role::text, "one"));
}

TEST_F(RootTest, WhatIsAskedForElsewhereIsTheSettingsPage) {
    NotificationCenter::defaultCenter().post(StatusBarController::settingsRequested);
    root.frame(1);
    EXPECT_TRUE(root.has(Role::heading, "Settings"));
    root.click(Role::button, "Close");
    root.frame(1);
    EXPECT_TRUE(root.has(Role::heading, "Clipboard"));
}

TEST_F(RootTest, TheListsActionsAreTheApplications) {
    desktop.authentication.refusal.reset();
    auto& store = application.store();
    const auto isLocked = [&] { return store.items()->front().locked; };
    const auto answer = [&] {
        ASSERT_EQ(desktop.authentication.prompts.size(), 1U);
        EXPECT_EQ(desktop.authentication.prompts.front().reason, localized("auth.unlockItem"));
        desktop.authentication.answer(true);
        desktop.runLoop.advance(0);
    };
    root.click(Role::button, "Lock");
    EXPECT_TRUE(isLocked());
    root.click(Role::button, "Unlock");
    EXPECT_TRUE(isLocked()) << "not before the answer";
    answer();
    EXPECT_FALSE(isLocked());
    application.lockCoordinator().relockAll();
    EXPECT_FALSE(isLocked()) << "for good";

    desktop.workspace.front = NSRunningApplication{.processIdentifier = 7, .bundleIdentifier = "editor"};
    root.press(Key::enter);
    desktop.runLoop.advance(1);
    ASSERT_EQ(desktop.syntheticKeys.posted.size(), 1U);
    EXPECT_EQ(desktop.syntheticKeys.posted[0].text, String("one"));
}

TEST_F(RootTest, AnotherLanguageBeginsTheListAnewButStaysOnThePage) {
    root.press(Key::character, {}, "t");
    EXPECT_FALSE(root.has(Role::text, "one"));
    LanguageManager::shared().currentLanguage.set(AppLanguage::es);
    root.frame(1);
    EXPECT_TRUE(root.has(Role::text, "one"));
    const auto isSearching = [] { return HistorySearch::shared().answer({.query = "t"}) != nullptr; };
    EXPECT_FALSE(isSearching()) << "a search goes with its list";
    root.press(Key::character, {}, "t");
    EXPECT_TRUE(isSearching());
    root.click(Role::button, "Configuración");
    EXPECT_FALSE(isSearching());
    LanguageManager::shared().currentLanguage.set(AppLanguage::en);
    root.frame(1);
    EXPECT_TRUE(root.has(Role::heading, "Settings"));
}

TEST_F(RootTest, EachOpeningBeginsWithAllEntries) {
    root.press(Key::character, {}, "o");
    root.click(Role::radioButton, "Text");
    root.press(Key::down);
    EXPECT_EQ(root.find(Role::textField, "Search").value, "o");
    NotificationCenter::defaultCenter().post(StatusBarController::panelOpens);
    root.frame(1);
    EXPECT_EQ(root.find(Role::textField, "Search").value, "");
    EXPECT_TRUE(root.find(Role::radioButton, "All").state.isSelected);
    root.press(Key::character, {}, "t");
    EXPECT_EQ(root.find(Role::textField, "Search").value, "t") << "and not behind what was sought before";
}

TEST_F(RootTest, AgesAreReadAnewAndNothingMovesWhenItIsShownAgain) {
    EXPECT_TRUE(root.has(Role::text, "Just now"));
    desktop.runLoop.advance(3600);
    NotificationCenter::defaultCenter().post("AutoPasteFailed");
    root.tree->settle();
    readTimestampsAnew();
    root.frame(3600);
    root.frame(0.05);
    EXPECT_EQ(layersUnderWay(), 0U);
    EXPECT_TRUE(root.has(Role::text, "1 h ago"));
}

}  // namespace
}  // namespace vellumix
