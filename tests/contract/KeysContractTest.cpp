// The contracts of event taps and of synthetic keys in platform/desktop, held by every backend.

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include "platform/headless/Desktop.h"
#include "platform/x11/keys/EventTaps.h"
#include "platform/x11/keys/SyntheticKeys.h"
#include "x11/DisplayRig.h"
#include "x11/KeyListener.h"
#include "x11/Person.h"

namespace vellumix::tests {

namespace {

constexpr KeyChord command(std::uint32_t keyCode) {
    return {.keyCode = keyCode, .flags = kCGEventFlagMaskCommand};
}
constexpr auto commandC = command(8), commandV = command(9), commandX = command(7);

}  // namespace

/// A desktop, a person at it, and a text editor in front. All of them know Command with a letter.
struct KeysBackend {
    virtual ~KeysBackend() = default;
    virtual EventTaps& taps() = 0;
    virtual SyntheticKeys& keys() = 0;
    /// The combination by which the editor copies.
    virtual KeyChord copyThere() = 0;
    virtual void press(const KeyChord& chord) = 0;
    virtual void otherTakes(const KeyChord& chord) = 0;
    /// What the editor was told of since the last question: a letter for each chord.
    virtual std::string told() = 0;
};

struct HeadlessKeys final : KeysBackend {
    EventTaps& taps() override { return desktop.eventTaps; }
    SyntheticKeys& keys() override { return desktop.syntheticKeys; }
    KeyChord copyThere() override { return commandC; }
    void press(const KeyChord& chord) override {
        if (desktop.eventTaps.press({.chord = chord})) pressed.push_back(chord);
    }
    void otherTakes(const KeyChord& chord) override { desktop.eventTaps.taken.push_back(chord); }
    std::string told() override {
        for (const auto& posting : desktop.syntheticKeys.posted) pressed.push_back(posting.chord);
        desktop.syntheticKeys.posted.clear();
        std::string letters;
        for (const auto& chord : std::exchange(pressed, {})) {
            letters += chord == commandC ? 'C' : chord == commandV ? 'V' : chord == commandX ? 'X' : '?';
        }
        return letters;
    }

    headless::Desktop desktop;
    platform::Scope scope{desktop.platform()};
    std::vector<KeyChord> pressed;
};

struct X11Keys final : KeysBackend {
    EventTaps& taps() override { return taps_; }
    SyntheticKeys& keys() override { return keys_; }
    KeyChord copyThere() override { return {.keyCode = 8, .flags = kCGEventFlagMaskControl}; }
    void press(const KeyChord& chord) override {
        const unsigned modifier = chord.flags == kCGEventFlagMaskControl ? KEY_LEFTCTRL : KEY_LEFTMETA;
        person.press(modifier);
        person.typeKey(*positionOfVirtualKey(chord.keyCode));
        person.release(modifier);
        pass();
    }
    void otherTakes(const KeyChord& chord) override {
        const auto key = x11::keyCodeOf(*positionOfVirtualKey(chord.keyCode));
        xcb_grab_key(other->xcb(), 0, other->root(), XCB_MOD_MASK_4, key, XCB_GRAB_MODE_ASYNC,
                     XCB_GRAB_MODE_ASYNC);
        x11::xcb::await<xcb_get_input_focus_reply>(other->xcb(), xcb_get_input_focus(other->xcb()));
    }
    std::string told() override {
        pass();
        const auto keys = listener.keys();
        listener.forget();
        std::string letters;
        for (const auto& [position, letter] : {std::pair{KEY_C, 'C'}, {KEY_V, 'V'}, {KEY_X, 'X'}}) {
            const auto down = " +" + std::to_string(position);
            for (auto at = keys.find(down); at != std::string::npos; at = keys.find(down, at + 1))
                letters += letter;
        }
        return letters;
    }
    void pass() {
        rig.wait([] { return false; }, 0.1);
    }

    DisplayRig rig;
    x11::Workspace workspace{*rig.connection, *rig.windowManager, x11::DesktopFiles({})};
    x11::Pasteboard pasteboard{*rig.connection};
    x11::KeyGrabs grabs{*rig.connection, *rig.keyboard};
    x11::EventTaps taps_{*rig.connection, grabs};
    x11::SyntheticKeys keys_{*rig.connection, *rig.keyboard, grabs, workspace, pasteboard};
    std::unique_ptr<x11::Connection> other = x11::Connection::open(rig.runLoop, rig.trouble);
    KeyListener listener{*rig.connection};
    Person person;
};

struct KeysChoice {
    const char* name;
    std::unique_ptr<KeysBackend> (*make)();
};

class KeysContract : public testing::TestWithParam<KeysChoice> {
protected:
    /// A tap that hears.
    struct Tap {
        Tap(KeysBackend& backend, const KeyChord& wanted)
            : taps(backend.taps()),
              port(taps.CGEventTapCreate(
                  {.eventsOfInterest = 1 << 10,
                   .mayKeep = {wanted},
                   .callback = [](CGEventType, const CGEvent& event,
                                  void* self) { return static_cast<Tap*>(self)->ask(event); },
                   .userInfo = this})) {
            if (port) source = taps.CFMachPortCreateRunLoopSource(port);
        }
        const CGEvent* ask(const CGEvent& event) {
            ++asked;
            return keeps ? nullptr : &event;
        }

        EventTaps& taps;
        CFMachPortRef port;
        CFRunLoopSourceRef source;
        bool keeps = true;
        int asked = 0;
    };
};

TEST_P(KeysContract, ATapHearsFromItsStartToItsEnd) {
    const auto backend = GetParam().make();
    Tap tap(*backend, commandX);
    ASSERT_TRUE(tap.source);
    const auto arrives = [&] {
        backend->press(commandX);
        return backend->told();
    };
    EXPECT_EQ(arrives(), "X") << "neither enabled nor in the loop";
    tap.taps.CGEventTapEnable(tap.port, true);
    EXPECT_EQ(arrives(), "X") << "not in the loop";
    EXPECT_EQ(tap.asked, 0);
    tap.taps.CFRunLoopAddSource(tap.source);
    EXPECT_EQ(arrives(), "");
    tap.keeps = false;
    EXPECT_EQ(arrives(), "X");
    EXPECT_EQ(tap.asked, 2);
    tap.keeps = true;
    tap.taps.CFRunLoopRemoveSource(tap.source);
    EXPECT_EQ(arrives(), "X");
    tap.taps.CFRunLoopAddSource(tap.source);
    tap.port.reset();
    EXPECT_EQ(arrives(), "X") << "ended";
    EXPECT_EQ(tap.asked, 2);
    backend->otherTakes(commandX);
    EXPECT_FALSE(Tap(*backend, commandX).port);
}

TEST_P(KeysContract, PostedKeysGoToTheFrontInOrderAndToNoTap) {
    const auto backend = GetParam().make();
    Tap tap(*backend, backend->copyThere());
    ASSERT_TRUE(tap.source);
    tap.taps.CFRunLoopAddSource(tap.source);
    tap.taps.CGEventTapEnable(tap.port, true);
    EXPECT_TRUE(backend->keys().AXIsProcessTrustedWithOptions(false));
    backend->keys().CGEventPost(commandV);
    EXPECT_EQ(backend->told(), "V");
    backend->press(backend->copyThere());
    EXPECT_EQ(tap.asked, 1);
    EXPECT_EQ(backend->told(), "") << "a person's";
    backend->keys().CGEventPost(commandC);
    EXPECT_EQ(backend->told(), "C") << "our own";
    EXPECT_EQ(tap.asked, 1);
    backend->press(backend->copyThere());
    EXPECT_EQ(tap.asked, 2) << "the tap is still there";
}

INSTANTIATE_TEST_SUITE_P(Every, KeysContract,
                         testing::Values(KeysChoice{"headless",
                                                    []() -> std::unique_ptr<KeysBackend> {
                                                        return std::make_unique<HeadlessKeys>();
                                                    }},
                                         KeysChoice{"x11",
                                                    []() -> std::unique_ptr<KeysBackend> {
                                                        return std::make_unique<X11Keys>();
                                                    }}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace vellumix::tests
