// The contract of platform/desktop/Window.h, held by every backend.

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include "contract/WindowBackend.h"
#include "support/WindowLog.h"

namespace vellumix::tests {

struct WindowBackendChoice {
    const char* name;
    std::unique_ptr<WindowBackend> (*make)();
};

void PrintTo(const WindowBackendChoice& choice, std::ostream* stream) { *stream << choice.name; }

class WindowContract : public testing::TestWithParam<WindowBackendChoice> {
protected:
    void SetUp() override { ASSERT_EQ(backend->trouble(), ""); }

    std::unique_ptr<NSWindow> make(NSWindow::Kind kind, const Rect& frame = {{100, 100}, {200, 150}}) {
        return backend->windows().makeWindow({.kind = kind, .frame = frame});
    }

    const std::unique_ptr<WindowBackend> backend = GetParam().make();
};

TEST_P(WindowContract, AMenuTakesTheKeyboardFromThePanelAndGivesItBack) {
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog panelLog(*panel);
    panel->makeKeyWindow();
    EXPECT_FALSE(panel->isKeyWindow()) << "a hidden window is not key";
    panel->orderFrontRegardless();
    EXPECT_FALSE(panel->isKeyWindow());
    panel->makeKeyWindow();
    ASSERT_TRUE(backend->wait([&] { return panelLog.keyStates == "+"; }));
    backend->typeKey(KEY_A);
    ASSERT_TRUE(backend->wait([&] { return panelLog.keys.size() == 1; }));
    EXPECT_EQ(panelLog.keys[0].position, unsigned{KEY_A});

    auto menu = make(NSWindow::Kind::menu, {{150, 120}, {80, 80}});
    WindowLog menuLog(*menu);
    menu->orderFrontRegardless();
    menu->makeKeyWindow();
    ASSERT_TRUE(backend->wait([&] { return menuLog.keyStates == "+" && panelLog.keyStates == "+-"; }));
    backend->typeKey(KEY_B);
    ASSERT_TRUE(backend->wait([&] { return menuLog.keys.size() == 1; }));

    menu->orderOut();
    ASSERT_TRUE(backend->wait([&] { return panelLog.keyStates == "+-+" && menuLog.keyStates == "+-"; }));
    backend->typeKey(KEY_C);
    ASSERT_TRUE(backend->wait([&] { return panelLog.keys.size() == 2; }));
    EXPECT_EQ(menuLog.keys.size(), 1U);

    panel->orderOut();
    ASSERT_TRUE(backend->wait([&] { return panelLog.keyStates == "+-+-"; }));
    EXPECT_FALSE(panel->isVisible());
    backend->typeKey(KEY_D);
    backend->settle();
    EXPECT_EQ(panelLog.keys.size(), 2U);
}

TEST_P(WindowContract, AWindowThatGivesUpTheKeyboardAndThePointerIsOnlySeen) {
    const auto behind = make(NSWindow::Kind::panel);
    WindowLog behindLog(*behind);
    behind->orderFrontRegardless();
    behind->makeKeyWindow();
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(backend->wait([&] { return log.keyStates == "+"; }));

    panel->resignKeyWindow();
    panel->setIgnoresMouseEvents(true);
    EXPECT_TRUE(panel->isVisible());
    ASSERT_TRUE(backend->wait([&] { return log.keyStates == "+-" && behindLog.keyStates == "+-+"; }));
    backend->typeKey(KEY_A);
    backend->click({150, 140});
    ASSERT_TRUE(backend->wait([&] { return behindLog.keys.size() == 1 && behindLog.releases == 1; }));
    EXPECT_TRUE(log.keys.empty() && log.presses.empty());

    panel->setIgnoresMouseEvents(false);
    panel->makeKeyWindow();
    ASSERT_TRUE(backend->wait([&] { return log.keyStates == "+-+"; }));
    backend->click({150, 140});
    ASSERT_TRUE(backend->wait([&] { return log.releases == 1; }));
    EXPECT_EQ(behindLog.releases, 1);
}

TEST_P(WindowContract, AFrameTakesEffectAtOnceAndIsToldLater) {
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    panel->setFrame({{120, 100}, {200, 150}});
    panel->setFrame({{120, 100}, {240, 180}});
    panel->setFrame({{120, 100}, {240, 180}});
    EXPECT_EQ(panel->frame().size, (Size{240, 180}));
    EXPECT_EQ(log.frames, "") << "never inside the call";
    ASSERT_TRUE(backend->wait([&] { return log.frames == "moved resized "; }));
    const auto insets = panel->shadowInsets();
    const auto buffer = panel->beginDrawing();
    EXPECT_EQ(buffer.width, (240 + insets.leading + insets.trailing) * panel->backingScaleFactor());
    ASSERT_TRUE(panel->screen());
    EXPECT_EQ(*panel->screen(), backend->windows().screens().front());
}

TEST_P(WindowContract, APressElsewhereIsToldAndOneOnOurOwnWindowIsNot) {
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    int elsewhere = 0;
    int releases = 0;
    auto monitor = backend->windows().addGlobalMonitorForMouseDown([&] { ++elsewhere; });
    auto releaseMonitor = backend->windows().addGlobalMonitorForMouseUp([&] { ++releases; });
    backend->settle();
    backend->click({150, 140});
    ASSERT_TRUE(backend->wait([&] { return log.presses.size() == 1 && log.releases == 1; }));
    const auto insets = panel->shadowInsets();
    EXPECT_EQ(log.presses[0].at, (Point{50 + insets.leading, 40 + insets.top}));
    backend->click({500, 400});
    ASSERT_TRUE(backend->wait([&] { return elsewhere == 1 && releases == 2; })) << "and any release";
    EXPECT_EQ(log.presses.size(), 1U);
    monitor.cancel();
    backend->settle();
    backend->click({500, 400});
    ASSERT_TRUE(backend->wait([&] { return releases == 3; }));
    EXPECT_EQ(elsewhere, 1);
    releaseMonitor.cancel();
    backend->settle();
    backend->click({500, 400});
    backend->settle();
    EXPECT_EQ(releases, 3);
}

INSTANTIATE_TEST_SUITE_P(Every, WindowContract,
                         testing::Values(WindowBackendChoice{"headless", makeHeadlessWindows},
                                         WindowBackendChoice{"x11", makeX11Windows}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace vellumix::tests
