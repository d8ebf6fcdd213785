#include "delivery/HotkeyCoordinator.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

constexpr KeyChord commandC{.keyCode = 8, .flags = kCGEventFlagMaskCommand};
constexpr KeyChord commandDelete{.keyCode = 51, .flags = kCGEventFlagMaskCommand};
constexpr CGEventFlags command = kCGEventFlagMaskCommand;

class GlobalCutTest : public HeadlessTest {
protected:
    GlobalCutTest() {
        for (const auto* name : {"CGEventTapCreationFailed", "CGEventTapRevoked"}) {
            observations.push_back(NotificationCenter::defaultCenter().observe(
                name, [this, name](const auto&) { told += name[sizeof "CGEventTap" - 1]; }));
        }
        desktop.workspace.front = files;
    }
    /// What is posted for a press; "-" behind it where the press itself passes.
    std::string pressing(const CGEvent& event) {
        desktop.syntheticKeys.posted.clear();
        const bool passes = desktop.eventTaps.press(event);
        std::string posted;
        for (const auto& posting : desktop.syntheticKeys.posted) {
            posted += posting.chord == commandC ? 'C' : posting.chord == commandDelete ? 'D' : '?';
        }
        return posted + (passes ? "-" : "");
    }
    static CGEvent key(std::uint32_t keyCode, CGEventFlags flags, bool isAutorepeat = false) {
        return {.chord = {.keyCode = keyCode, .flags = flags}, .isAutorepeat = isAutorepeat};
    }

    const NSRunningApplication files{.processIdentifier = 5,
                                     .bundleIdentifier = "org.example.Files",
                                     .kindIdentifier = "com.apple.finder"};
    std::string told;
    std::vector<Observation> observations;
};

TEST_F(GlobalCutTest, OnlyTheShortcutInAFileManagerIsTakenAndBecomesCopyAndTrash) {
    HotkeyCoordinator coordinator([] {});
    coordinator.updateCut({7, cmdKey}, true);
    constexpr CGEventFlags fn = 0x800000;
    const struct {
        const char* name;
        CGEvent event;
        std::string expected;
    } cases[] = {
        {"the shortcut", key(7, command), "CD"},
        {"with Caps Lock and Fn", key(7, command | kCGEventFlagMaskAlphaShift | fn), "CD"},
        {"a repetition", key(7, command, true), "-"},
        {"with Shift", key(7, command | kCGEventFlagMaskShift), "-"},
        {"without Command", key(7, 0), "-"},
        {"another key", key(8, command), "-"},
        {"the trash's own", key(51, command), "-"},
    };
    for (const auto& one : cases) EXPECT_EQ(pressing(one.event), one.expected) << one.name;
    const std::optional<NSRunningApplication> others[] = {
        std::nullopt, NSRunningApplication{.processIdentifier = 6},
        NSRunningApplication{.processIdentifier = 6, .bundleIdentifier = "org.example.Files"}};
    for (const auto& front : others) {
        desktop.workspace.front = front;
        EXPECT_EQ(pressing(key(7, command)), "-");
    }
    EXPECT_EQ(told, "");
}

TEST_F(GlobalCutTest, ThereIsOneTapForTheShortcutAndNoneWhenItIsOff) {
    HotkeyCoordinator coordinator([] {});
    coordinator.updateCut({7, cmdKey}, false);
    EXPECT_EQ(coordinator.cutInterceptor, nullptr);
    coordinator.updateCut({7, cmdKey}, true);
    coordinator.updateCut({7, cmdKey | shiftKey | 0x80000000}, true);
    EXPECT_EQ(desktop.eventTaps.live(), 1);
    EXPECT_EQ(pressing(key(7, command)), "-");
    EXPECT_EQ(pressing(key(7, command | kCGEventFlagMaskShift)), "CD");
    // Its own keys as the shortcut don't come back to it.
    for (const auto& own : {commandC, commandDelete}) {
        coordinator.updateCut({own.keyCode, cmdKey}, true);
        EXPECT_EQ(pressing({.chord = own}), "CD");
    }
    coordinator.updateCut({7, cmdKey}, false);
    EXPECT_FALSE(coordinator.cutInterceptor->isStarted());
    EXPECT_EQ(desktop.eventTaps.live(), 0);
    EXPECT_EQ(pressing(key(7, command)), "-");
    coordinator.updateCut({7, cmdKey}, true);
    coordinator.cutInterceptor.reset();
    EXPECT_EQ(pressing(key(7, command)), "-") << "nobody is left to be asked";
    EXPECT_EQ(told, "");
}

TEST_F(GlobalCutTest, WhatTheDesktopRefusesOrTakesAwayIsToldAndATimeOutIsHealed) {
    GlobalCutInterceptor interceptor({7, cmdKey});
    desktop.eventTaps.taken = {{.keyCode = 7, .flags = command}};
    interceptor.start();
    EXPECT_EQ(told, "C");
    EXPECT_FALSE(interceptor.isStarted());
    desktop.eventTaps.taken.clear();
    desktop.eventTaps.hasSources = false;
    interceptor.start();
    EXPECT_EQ(told, "C") << "without a word";
    EXPECT_FALSE(interceptor.isStarted());
    desktop.eventTaps.hasSources = true;
    interceptor.start();
    desktop.eventTaps.disable(CGEventType::tapDisabledByTimeout);
    EXPECT_EQ(pressing(key(7, command)), "CD");
    EXPECT_EQ(told, "C");
    desktop.eventTaps.disable(CGEventType::tapDisabledByUserInput);
    EXPECT_EQ(told, "CR");
    EXPECT_EQ(pressing(key(7, command)), "-");
}

}  // namespace
}  // namespace vellumix
