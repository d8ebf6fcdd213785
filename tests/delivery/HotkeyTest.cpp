#include "delivery/HotkeyCoordinator.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

TEST(Shortcut, ReadsAsAPersonKnowsIt) {
    const std::pair<Shortcut, const char*> cases[] = {
        {{9, 2304}, "⌥⌘V"},      {{8, 6912}, "⌃⌥⇧⌘C"}, {{36, controlKey}, "⌃?"},
        {{49, cmdKey}, "⌘ "},    {{10, 0}, "?"},       {{42, shiftKey | 0x10000}, "⇧\\"},
        {{50, optionKey}, "⌥`"},
    };
    for (const auto& [shortcut, expected] : cases) EXPECT_EQ(displayString(shortcut), expected);
}

TEST(Shortcut, KeepsUnknownModifiersInTheSettingsAndNowhereElse) {
    const Shortcut odd{9, 0x80000900};
    EXPECT_EQ(asText(odd.encode()), R"({"keyCode":9,"modifiers":2147485952})");
    EXPECT_EQ(Shortcut::decode(odd.encode()), odd);
    EXPECT_EQ(modifierFlags(odd.modifiers), kCGEventFlagMaskCommand | kCGEventFlagMaskAlternate);
    EXPECT_EQ(carbonModifiers(modifierFlags(odd.modifiers) | 0x10000), 0x900U);
    for (const auto* wrong : {"", "[9,2304]", R"({"keyCode":9})", R"({"keyCode":9,"modifiers":-1})",
                              R"({"keyCode":9,"modifiers":4294967296})", R"({"keyCode":9.5,"modifiers":256})",
                              R"({"keyCode":"9","modifiers":256})", R"({"keyCode":9,"modifiers":256} x)"}) {
        EXPECT_FALSE(Shortcut::decode(Data(std::string_view(wrong)))) << wrong;
    }
}

class HotkeyTest : public HeadlessTest {
protected:
    headless::Hotkeys& hotkeys = desktop.hotkeys;
};

TEST_F(HotkeyTest, ThereIsOneAtATimeAndNoneAfterARefusal) {
    int toggles = 0;
    HotkeyCoordinator coordinator([&] { ++toggles; });
    hotkeys.taken = {{7, cmdKey}};
    EXPECT_TRUE(coordinator.updateHotkey({9, cmdKey}));
    EXPECT_TRUE(coordinator.updateHotkey({9, cmdKey})) << "the old one has gone before the new one comes";
    EXPECT_TRUE(hotkeys.press({9, cmdKey}));
    EXPECT_EQ(toggles, 0) << "not inside the dispatching of events";
    desktop.runLoop.advance(0);
    EXPECT_EQ(toggles, 1);

    EXPECT_FALSE(coordinator.updateHotkey({7, cmdKey}));
    EXPECT_TRUE(hotkeys.registered.empty());
}

TEST_F(HotkeyTest, APressThatComesTooLateDoesNothing) {
    int toggles = 0;
    {
        HotkeyCoordinator coordinator([&] { ++toggles; });
        ASSERT_TRUE(coordinator.updateHotkey({9, cmdKey}));
        EXPECT_TRUE(hotkeys.press({9, cmdKey}));
    }
    EXPECT_FALSE(hotkeys.press({9, cmdKey}));
    desktop.runLoop.advance(1);
    EXPECT_EQ(toggles, 0);
}

}  // namespace
}  // namespace vellumix
