#include <linux/input-event-codes.h>

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

TEST(Shortcut, ACodeIsTheSamePlaceByNameAndOnTheBoard) {
    // The rows of an American board; the places of a row follow each other.
    const std::pair<unsigned, std::string_view> rows[] = {{KEY_1, "1234567890-="},
                                                          {KEY_Q, "QWERTYUIOP[]"},
                                                          {KEY_A, "ASDFGHJKL;'`"},
                                                          {KEY_BACKSLASH, "\\ZXCVBNM,./"},
                                                          {KEY_SPACE, " "}};
    std::string found;
    for (std::uint32_t code = 0; code <= 127; ++code) {
        const auto name = keyName(code);
        for (const auto& [first, row] : rows) {
            const auto at = row.find(name);
            if (at == std::string_view::npos) continue;
            EXPECT_EQ(positionOfVirtualKey(code), first + at) << name;
            found += name;
        }
    }
    EXPECT_EQ(found, "ASDFHGZXCVBQWERYT123465=97-80]OU[IPLJ'K;\\,/NM. `");
    const std::pair<std::uint32_t, unsigned> others[] = {
        {10, KEY_102ND},  {36, KEY_ENTER}, {48, KEY_TAB},   {53, KEY_ESC},  {51, KEY_BACKSPACE},
        {122, KEY_F1},    {120, KEY_F2},   {99, KEY_F3},    {118, KEY_F4},  {96, KEY_F5},
        {97, KEY_F6},     {98, KEY_F7},    {100, KEY_F8},   {101, KEY_F9},  {109, KEY_F10},
        {103, KEY_F11},   {111, KEY_F12},  {115, KEY_HOME}, {119, KEY_END}, {123, KEY_LEFT},
        {124, KEY_RIGHT}, {125, KEY_DOWN}, {126, KEY_UP}};
    for (const auto& [code, position] : others) EXPECT_EQ(positionOfVirtualKey(code), position) << code;
    for (const std::uint32_t none : {52U, 54U, 66U, 95U, 127U, 1000U})
        EXPECT_FALSE(positionOfVirtualKey(none)) << none;
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
