// What other programs can do to the display as often as they like costs this program something once in a turn
// of the loop, and not each time.

#include <unistd.h>

#include "platform/x11/applications/Workspace.h"
#include "platform/x11/keys/LockerWatch.h"
#include "platform/x11/windows/DisplaySettings.h"
#include "x11/X11Test.h"

namespace vellumix::tests {

class FloodTest : public X11Test {
protected:
    static constexpr unsigned changes = 1000;

    /// How many requests this program makes until the condition holds, after so many changes at once.
    unsigned requestsFor(const std::function<void(unsigned)>& change, const std::function<bool()>& isDone) {
        settle();
        const auto idle = requestsOf([&] { settle(); });
        for (unsigned number = 0; number < changes; ++number) change(number);
        peer->synchronize();
        return requestsOf([&] {
            EXPECT_TRUE(wait(isDone));
            while (requestsOf([&] { settle(); }) > idle) {
            }
        });
    }
    void setRoot(xcb_atom_t property, xcb_atom_t type, const std::string& value) {
        xcb_change_property(peer->xcb(), XCB_PROP_MODE_REPLACE, connection->root(), property, type, 8,
                            static_cast<std::uint32_t>(value.size()), value.data());
    }

private:
    unsigned requestsOf(const std::function<void()>& work) {
        const auto before = xcb_no_operation(connection->xcb()).sequence;
        work();
        return xcb_no_operation(connection->xcb()).sequence - before;
    }
};

TEST_F(FloodTest, OfWhatHasChangedAgainOnlyTheLastIsRead) {
    peer->tellsWindows();
    x11::Workspace workspace(*connection, *windowManager, x11::DesktopFiles({}));
    const auto first = peer->makeWindow({}, 1);
    const auto last = peer->makeWindow({}, 2);
    const auto front = [&] {
        const auto application = workspace.frontmostApplication();
        return application ? application->processIdentifier : 0;
    };
    EXPECT_LT(requestsFor(
                  [&](auto number) { peer->setRootWindow("_NET_ACTIVE_WINDOW", number % 2 ? last : first); },
                  [&] { return front() == 2; }),
              changes);
    // Whoever asks in the same turn gets what is known by then, and nobody needs to ask for it to be known.
    int copiedIn = 0;
    const auto copies = pasteboard->observeCopies([&] { copiedIn = front(); });
    peer->setRootWindow("_NET_ACTIVE_WINDOW", first);
    peer->copyText("copied");
    ASSERT_EQ(nextText(), "copied");
    EXPECT_EQ(copiedIn, 1);
    const auto rest = [&] { wait([] { return false; }, 0.05); };
    peer->setRootWindow("_NET_ACTIVE_WINDOW", last);
    rest();
    peer->setRootWindow("_NET_ACTIVE_WINDOW", peer->makeWindow({}, static_cast<std::uint32_t>(getpid())));
    rest();
    EXPECT_EQ(front(), 2);

    x11::SettingsReader settings(*connection, 0);
    EXPECT_LT(requestsFor(
                  [&](auto number) {
                      setRoot(XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING,
                              "Xft.dpi: " + std::to_string(number + 1) + "\n");
                  },
                  [&] { return settings.settings().dotsPerInch == changes; }),
              changes);

    peer->copyText("last");
    ASSERT_EQ(nextText(), "last");
    Peer other(runLoop);
    const auto seen = changesSeen;
    EXPECT_LT(requestsFor(
                  [&](auto number) {
                      if (number % 2 == 0) return other.take("CLIPBOARD");
                      peer->copyText(std::to_string(number));
                  },
                  [&] { return text() == std::to_string(changes - 1); }),
              changes);
    EXPECT_EQ(changesSeen, seen + 1);
}

TEST_F(FloodTest, NotAllWindowsOfAProgramThatMakesThousandsAreLookedAt) {
    int lockers = 0;
    const x11::LockerWatch watch(*connection, [&] { ++lockers; });
    const auto make = [&](Peer& by, std::uint16_t width, std::uint16_t height) {
        const std::uint32_t isPastManager = 1;
        const auto window = xcb_generate_id(by.xcb());
        xcb_create_window(by.xcb(), XCB_COPY_FROM_PARENT, window, connection->root(), 0, 0, width, height, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT,
                          &isPastManager);
    };
    Peer locker(runLoop);
    const auto flooding = connection->clientOf(peer->makeWindow({}, 1));
    EXPECT_LT(requestsFor(
                  [&](auto number) {
                      make(*peer, 9, 9);
                      if (number + 1 < changes) return;
                      peer->synchronize();
                      make(locker, 4000, 4000);
                      locker.synchronize();
                  },
                  [&] { return lockers == 1 && connection->clientWork().countOf(flooding) == 0; }),
              changes);
}

TEST_F(FloodTest, AnEndlessQuarrelForTheClipboardIsToldByItsOutcome) {
    Peer other(runLoop);
    const auto first = peer->makeWindow({}, 1);
    const auto last = peer->makeWindow({}, 1);
    const auto clipboard = connection->atoms().clipboard;
    using Kind = x11::SelectionChange::Kind;
    unsigned told = 0;
    Kind kind = Kind::present;
    const auto watch = connection->observeSelection(clipboard, [&](const auto& change) {
        ++told;
        kind = change.kind;
    });
    const auto outcome = [&] { return wait([&] { return kind != Kind::tooMany; }) ? text() : "untold"; };
    const struct {
        std::string inPause;
        std::function<void()> act;
        std::string text;
        bool isKept;
    } rows[] = {
        {"a copy", [&] { other.copyText("copied"); }, "copied", true},
        {"a write of ours", [&] { write("ours"); }, "ours", true},
        {"a write of ours and a copy", [&] { write("ours"), other.copyText("later"); }, "later", true},
        {"a copy whose program ends", [&] { Peer(runLoop).copyText("gone"); }, "-", false},
        {"a clear", [&] { other.copyText("cleared"), other.clear(); }, "-", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.inPause);
        other.copyText("before");
        ASSERT_EQ(nextText(), "before");
        pasteboard->preserve(pasteboard->changeCount());
        told = 0;
        for (unsigned number = 0; number < 20 * changes; ++number) {
            xcb_set_selection_owner(peer->xcb(), number % 2 ? last : first, clipboard, XCB_CURRENT_TIME);
        }
        peer->synchronize();
        ASSERT_TRUE(wait([&] { return kind == Kind::tooMany; }));
        row.act();
        EXPECT_NE(outcome(), "untold");
        EXPECT_TRUE(wait([&] { return text() == row.text; })) << text();
        EXPECT_LT(told, changes / 2);
        // What comes then is recorded and kept as ever.
        if (row.isKept) {
            EXPECT_EQ(other.paste("UTF8_STRING"), row.text);
        } else {
            EXPECT_TRUE(waitForNoOwner());
        }
        Peer next(runLoop);
        next.copyText("next");
        ASSERT_EQ(nextText(), "next");
        pasteboard->preserve(pasteboard->changeCount());
        next.die();
        EXPECT_TRUE(waitForOurOwnership());
    }
}

}  // namespace vellumix::tests
