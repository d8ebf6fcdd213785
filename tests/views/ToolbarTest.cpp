#include <gtest/gtest.h>

#include "support/HeadlessTest.h"
#include "view/TreeUnderTest.h"
#include "views/controls/Looks.h"
#include "views/list/ClipboardToolbar.h"
#include "views/panel/HeaderView.h"

namespace vellumix {
namespace {

using namespace view;
using Kind = ClipboardItem::Kind;

/// The bars over a list, with what the list would keep.
struct Bars {
    int* clears = nullptr;
    State<String> query;
    State<Kind> category = Kind::all;
    State<ViewState> page = ViewState::clipboard;

    View body() const {
        return VStack(Spacing(0),
                      HeaderView{.currentView = page,
                                 .onNavigate = [page = page.binding()](ViewState to) { page.set(to); }},
                      ClipboardToolbar{.searchText = query.binding(),
                                       .selectedFilter = category.binding(),
                                       .onClear = [clears = clears] { ++*clears; }});
    }
};

class ToolbarTest : public HeadlessTest {
protected:
    int clears = 0;
    TreeUnderTest bars{themed(Bars{&clears}), {{520, 200}}};
};

TEST_F(ToolbarTest, WhatWasTypedIsClearedByItsButton) {
    EXPECT_FALSE(bars.has(Role::button, "Clear search"));
    bars.click(Role::textField, "Search");
    bars.press(Key::character, {}, "q");
    EXPECT_EQ(bars.find(Role::textField, "Search").value, "q");
    bars.click(Role::button, "Clear search");
    bars.frame(1);
    EXPECT_EQ(bars.find(Role::textField, "Search").value, "");
    EXPECT_FALSE(bars.has(Role::button, "Clear search"));
    EXPECT_EQ(clears, 0);
    bars.click(Role::button, "Clear history");
    EXPECT_EQ(clears, 1);
}

TEST_F(ToolbarTest, ChipsOfEqualWidthChooseOneKind) {
    const char* names[] = {"All", "Text", "Image", "Link", "File", "Code"};
    double right = 0;
    for (const auto* chosen : names) {
        bars.click(Role::radioButton, chosen);
        bars.click(Role::radioButton, chosen);
        for (const auto* name : names) {
            EXPECT_EQ(bars.find(Role::radioButton, name).state.isSelected, std::string_view(name) == chosen);
        }
        const auto frame = bars.find(Role::radioButton, chosen).frame;
        EXPECT_NEAR(frame.size.width, (520 - 32 - 5 * 4) / 6.0, 1);
        EXPECT_GT(frame.minX(), right);
        right = frame.maxX();
    }
}

TEST_F(ToolbarTest, HeaderButtonGoesToTheOtherPageAndBack) {
    EXPECT_TRUE(bars.has(Role::heading, "Clipboard"));
    bars.click(Role::button, "Settings");
    EXPECT_TRUE(bars.has(Role::heading, "Settings"));
    EXPECT_EQ(bars.find(Role::button, "Close").help, "Close");
    bars.click(Role::button, "Close");
    EXPECT_TRUE(bars.has(Role::heading, "Clipboard"));
}

}  // namespace
}  // namespace vellumix
