// The contract of the hotkeys in platform/desktop/Keyboard.h, held by every backend.

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include "platform/headless/Keyboard.h"
#include "platform/x11/keys/Hotkeys.h"
#include "platform/x11/keys/KeyboardMap.h"
#include "x11/Person.h"
#include "x11/PrivateDisplay.h"

namespace vellumix::tests {

/// A desktop with hotkeys, a person at it, and another program beside ours. All of them know one combination:
/// Command, Option and a letter.
struct HotkeyBackend {
    virtual ~HotkeyBackend() = default;
    virtual Hotkeys& hotkeys() = 0;
    virtual void press(std::uint32_t keyCode) = 0;
    virtual void otherTakes(std::uint32_t keyCode) = 0;
    /// Lets everything happen that is under way.
    virtual void settle() {}
};

struct HeadlessHotkeys final : HotkeyBackend {
    Hotkeys& hotkeys() override { return memory; }
    void press(std::uint32_t keyCode) override { memory.press({keyCode, cmdKey | optionKey}); }
    void otherTakes(std::uint32_t keyCode) override { memory.taken.push_back({keyCode, cmdKey | optionKey}); }
    headless::Hotkeys memory;
};

struct X11Hotkeys final : HotkeyBackend {
    Hotkeys& hotkeys() override { return *real; }
    void press(std::uint32_t keyCode) override {
        const auto position = *positionOfVirtualKey(keyCode);
        for (const unsigned held : {unsigned{KEY_LEFTMETA}, unsigned{KEY_LEFTALT}}) person.press(held);
        person.typeKey(position);
        for (const unsigned held : {unsigned{KEY_LEFTALT}, unsigned{KEY_LEFTMETA}}) person.release(held);
        settle();
    }
    void otherTakes(std::uint32_t keyCode) override {
        otherObservations.push_back(
            *other->RegisterEventHotKey(keyCode, cmdKey | optionKey, Hotkeys::InstallEventHandler([] {})));
        settle();
    }
    void settle() override {
        for (int turn = 0; turn < 8; ++turn) {
            x11::xcb::await<xcb_get_input_focus_reply>(connection->xcb(),
                                                       xcb_get_input_focus(connection->xcb()));
            bool isDone = false;
            runLoop.post([&] { isDone = true; });
            runLoop.runUntil([&] { return isDone; });
        }
    }

    PrivateDisplay display;
    linux_desktop::GLibRunLoop runLoop;
    std::string trouble;
    std::unique_ptr<x11::Connection> connection = x11::Connection::open(runLoop, trouble);
    x11::KeyboardMap keyboard{*connection};
    x11::KeyGrabs grabs{*connection, keyboard};
    std::unique_ptr<x11::Hotkeys> real = std::make_unique<x11::Hotkeys>(*connection, grabs);
    std::unique_ptr<x11::Connection> otherConnection = x11::Connection::open(runLoop, trouble);
    x11::KeyboardMap otherKeyboard{*otherConnection};
    x11::KeyGrabs otherGrabs{*otherConnection, otherKeyboard};
    std::unique_ptr<x11::Hotkeys> other = std::make_unique<x11::Hotkeys>(*otherConnection, otherGrabs);
    std::vector<Observation> otherObservations;
    Person person;
};

struct HotkeyChoice {
    const char* name;
    std::unique_ptr<HotkeyBackend> (*make)();
};

class HotkeyContract : public testing::TestWithParam<HotkeyChoice> {};

TEST_P(HotkeyContract, ACombinationIsOursFromItsRegistrationToItsEnd) {
    constexpr std::uint32_t v = 9, c = 8, m = 46;
    const auto backend = GetParam().make();
    auto& hotkeys = backend->hotkeys();
    int presses = 0;
    auto handler = Hotkeys::InstallEventHandler([&] { ++presses; });
    const auto arrivals = [&](std::uint32_t keyCode) {
        const int before = presses;
        backend->press(keyCode);
        backend->settle();
        return presses - before;
    };
    const auto take = [&](std::uint32_t keyCode) {
        return hotkeys.RegisterEventHotKey(keyCode, cmdKey | optionKey, handler);
    };
    EXPECT_TRUE(hotkeys.hasAllHotKeys()) << "none is all of none";
    EXPECT_EQ(arrivals(v), 0);
    auto first = take(v);
    ASSERT_TRUE(first);
    EXPECT_FALSE(take(v)) << "ours already";
    EXPECT_EQ(arrivals(v), 1);
    EXPECT_EQ(arrivals(c), 0);
    const auto second = take(c);
    ASSERT_TRUE(second);
    EXPECT_EQ(arrivals(c), 1);
    first.reset();
    backend->settle();
    EXPECT_EQ(arrivals(v), 0) << "given back";
    EXPECT_EQ(arrivals(c), 1);

    backend->otherTakes(m);
    EXPECT_FALSE(take(m));
    EXPECT_TRUE(hotkeys.hasAllHotKeys()) << "what was refused isn't missed";
    EXPECT_TRUE(take(v)) << "again";
    handler.reset();
    EXPECT_EQ(arrivals(c), 0) << "nobody listens";
}

INSTANTIATE_TEST_SUITE_P(Every, HotkeyContract,
                         testing::Values(HotkeyChoice{"headless",
                                                      []() -> std::unique_ptr<HotkeyBackend> {
                                                          return std::make_unique<HeadlessHotkeys>();
                                                      }},
                                         HotkeyChoice{"x11",
                                                      []() -> std::unique_ptr<HotkeyBackend> {
                                                          return std::make_unique<X11Hotkeys>();
                                                      }}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace vellumix::tests
