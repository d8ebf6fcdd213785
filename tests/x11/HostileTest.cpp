// Other programs with bad manners. After each of them the next normal copy is recorded at once, and nothing
// of the bad one stays behind.

#include <linux/input-event-codes.h>
#include <sys/resource.h>

#include "platform/x11/keys/Hotkeys.h"
#include "support/ProcessMemory.h"
#include "x11/Person.h"
#include "x11/X11Test.h"

namespace vellumix::tests {

using Answer = Peer::Answer;
using Manner = Peer::Manner;
using AtStop = Peer::AtStop;

namespace {

constexpr double never = 1000;
/// Much shorter than any deadline that a test leaves at `never`.
constexpr double atOnce = 1;

constexpr std::uint32_t megabyte = 1'000'000;

// The sanitizers keep freed memory for a while.
#ifdef VELLUMIX_ADDRESS_SANITIZER
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

}  // namespace

class HostileTest : public X11Test {
protected:
    void expectNextCopy() {
        Peer other(runLoop);
        other.copyText("next");
        EXPECT_EQ(nextText(atOnce), "next");
        EXPECT_EQ(pasteboard->activeTransfers(), 0U);
    }
    /// A busy machine takes its time for 200 MB.
    bool dropComes(double seconds = 30) {
        return wait([&] { return !drops.empty(); }, seconds);
    }
};

struct HostileCase {
    const char* name;
    std::vector<Answer> answers;
    RefusalReason reason;
    /// The deadline that is to end it; the others never come.
    x11::TransferLimits limits = {.answerSeconds = never, .pieceSeconds = never, .fetchSeconds = never};
};

TEST_F(HostileTest, OwnersThatNeverGiveWhatTheyAnnounce) {
    const x11::TransferLimits shortAnswer{
        .answerSeconds = 0.05, .pieceSeconds = never, .fetchSeconds = never};
    const x11::TransferLimits shortPiece{.answerSeconds = never, .pieceSeconds = 0.05, .fetchSeconds = never};
    const x11::TransferLimits shortFetch{.answerSeconds = never, .pieceSeconds = never, .fetchSeconds = 0.2};
    const std::string text = "UTF8_STRING";
    const std::string bytes(1000, 'x');
    const auto late = RefusalReason::noAnswer;
    const auto tooLarge = RefusalReason::tooLarge;
    const auto unreadable = RefusalReason::noReadableType;
    const std::vector<HostileCase> cases{
        {"no answer to the hint",
         {{.target = "x-kde-passwordManagerHint", .bytes = "", .manner = Manner::silent}},
         late,
         shortAnswer},
        {"no answer to TARGETS",
         {{.target = "TARGETS", .bytes = "", .manner = Manner::silent}},
         late,
         shortAnswer},
        {"no answer to the payload",
         {{.target = text, .bytes = "", .manner = Manner::silent}},
         late,
         shortAnswer},
        {"half of an incremental value",
         {{.target = text,
           .bytes = bytes,
           .manner = Manner::incremental,
           .announced = 1000,
           .pieceBytes = 100,
           .sent = 500,
           .atStop = AtStop::hangs}},
         late,
         shortPiece},
        {"an incremental value that trickles without end",
         {{.target = text,
           .bytes = bytes,
           .manner = Manner::incremental,
           .pieceBytes = 1,
           .sent = 100 * megabyte}},
         late,
         shortFetch},
        {"a hint that trickles without end",
         {{.target = "x-kde-passwordManagerHint",
           .bytes = bytes,
           .manner = Manner::incremental,
           .pieceBytes = 1000,
           .sent = 1000 * megabyte}},
         late,
         shortFetch},
        {"all announced targets are refused",
         {{.target = text, .bytes = "", .manner = Manner::refuses},
          {.target = "STRING", .bytes = "", .manner = Manner::refuses}},
         unreadable},
        {"yes, and no property", {{.target = text, .bytes = "", .manner = Manner::empty}}, unreadable},
        {"numbers under the name of text",
         {{.target = text, .bytes = std::string(8, 'x'), .type = "INTEGER", .format = 32}},
         unreadable},
        {"an incremental value that announces 200 MB",
         {{.target = text, .bytes = bytes, .manner = Manner::incremental, .announced = 200 * megabyte}},
         tooLarge},
        {"an incremental value that announces little and sends 200 MB",
         {{.target = text,
           .bytes = std::string(megabyte, 'x'),
           .manner = Manner::incremental,
           .announced = 10,
           .pieceBytes = 10 * megabyte,
           .sent = 200 * megabyte}},
         tooLarge},
        {"200 MB in one property",
         {{.target = text,
           .bytes = std::string(10 * megabyte, 'x'),
           .manner = Manner::appended,
           .sent = 200 * megabyte}},
         tooLarge},
        {"two thousand targets, perhaps with a marker at the end",
         {{.target = "TARGETS", .bytes = std::string(8000, '\1'), .type = "ATOM", .format = 32}},
         RefusalReason::tooManyTargets},
        {"targets that don't exist, one of them twice",
         {{.target = "TARGETS", .bytes = std::string(8, '\x7f'), .type = "ATOM", .format = 32}},
         unreadable},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.name);
        drops.clear();
        open(one.limits);
        const auto before = pasteboard->changeCount();
        const auto memory = ProcessMemory::now().resident;
        peer->copy(one.answers);
        ASSERT_TRUE(dropComes());
        EXPECT_EQ(drops.front(), one.reason);
        EXPECT_EQ(pasteboard->changeCount(), before);
        EXPECT_EQ(pasteboard->activeTransfers(), 0U);
        expectNextCopy();
        EXPECT_EQ(drops.size(), 1U);
        if (!isSanitized) {
            EXPECT_LT(ProcessMemory::now().resident, memory + 100 * megabyte);
        }
        peer = std::make_unique<Peer>(runLoop);
    }
}

TEST_F(HostileTest, MemoryThatCantBeHadCostsTheCopyAlone) {
    open({.answerSeconds = never, .pieceSeconds = never, .fetchSeconds = never});
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    const rlimit tight{ProcessMemory::now().mapped + 64 * megabyte, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &tight), 0);
    peer->copy({{.target = "UTF8_STRING",
                 .bytes = "much",
                 .manner = Manner::incremental,
                 .announced = 100 * megabyte}});
    const bool hasDropped = dropComes();
    ::setrlimit(RLIMIT_AS, &before);
    ASSERT_TRUE(hasDropped);
    EXPECT_EQ(drops, std::vector{RefusalReason::noMemory});
    expectNextCopy();
}

TEST_F(HostileTest, DropsWithoutEndAreSaidOnceAndCounted) {
    for (int number = 0; number < 50; ++number) {
        drops.clear();
        peer->copy({{.target = "unreadable", .bytes = ""}});
        ASSERT_TRUE(dropComes());
    }
    const std::string line = "error: Pasteboard: A copy was dropped: no readable type.";
    EXPECT_EQ(log.text, line + "\n");
    pasteboard.reset();
    EXPECT_EQ(log.text, line + "\n" + line + " (49 times more)\n");
}

TEST_F(HostileTest, AHangingOwnerHoldsNobodyUp) {
    for (const char* step : {"x-kde-passwordManagerHint", "TARGETS", "UTF8_STRING"}) {
        SCOPED_TRACE(step);
        drops.clear();
        open({.answerSeconds = never, .pieceSeconds = never, .fetchSeconds = never});
        peer->copy({{"UTF8_STRING", "text"}, {.target = step, .bytes = "", .manner = Manner::silent}});
        if (step == std::string("UTF8_STRING")) {
            peer->copy({{.target = step, .bytes = "", .manner = Manner::silent}});
        }
        ASSERT_TRUE(wait([&] { return !peer->asked().empty() && peer->asked().back() == step; }));
        EXPECT_EQ(pasteboard->activeTransfers(), 1U);
        drops.clear();
        expectNextCopy();
        ASSERT_TRUE(dropComes());
        EXPECT_EQ(drops, std::vector{RefusalReason::overtaken});
        // A write of our own is as good.
        peer->copy({{.target = step, .bytes = "", .manner = Manner::silent}});
        ASSERT_TRUE(wait([&] { return pasteboard->activeTransfers() == 1; }));
        write("ours");
        EXPECT_EQ(pasteboard->activeTransfers(), 0U);
        EXPECT_EQ(Peer(runLoop).paste("UTF8_STRING"), "ours");
    }
}

TEST_F(HostileTest, AnOwnerThatDiesWithinAnIncrementalValue) {
    const Answer answer{.target = "UTF8_STRING",
                        .bytes = std::string(1000, 'x'),
                        .manner = Manner::incremental,
                        .announced = 1000,
                        .pieceBytes = 100,
                        .sent = 500,
                        .atStop = AtStop::dies};
    open({.answerSeconds = never, .pieceSeconds = never, .fetchSeconds = never});
    peer->copyText("before");
    ASSERT_EQ(nextText(), "before");
    pasteboard->preserve(pasteboard->changeCount());
    peer->copy({answer});
    ASSERT_TRUE(dropComes(atOnce));
    EXPECT_EQ(drops.front(), RefusalReason::ownerEnded);
    EXPECT_EQ(pasteboard->activeTransfers(), 0U);
    // What was copied before is not what a person expects to paste now.
    peer.reset();
    EXPECT_TRUE(waitForNoOwner());
    expectNextCopy();
}

TEST_F(HostileTest, AChangeInTheMiddleIsTheNextCopy) {
    open({.answerSeconds = never, .pieceSeconds = never, .fetchSeconds = never});
    for (const auto manner : {Manner::whole, Manner::incremental, Manner::silent}) {
        drops.clear();
        Peer other(runLoop);
        peer->copy({{.target = "UTF8_STRING", .bytes = "first", .manner = manner, .meanwhile = [&] {
                         other.copyText("second");
                     }}});
        EXPECT_EQ(nextText(atOnce), "second");
        ASSERT_TRUE(dropComes());
        EXPECT_EQ(drops, std::vector{RefusalReason::overtaken});
        EXPECT_EQ(pasteboard->activeTransfers(), 0U);
    }
}

TEST_F(HostileTest, ALateAnswerToAnAbandonedQuestionHitsNothing) {
    open({.answerSeconds = 0.05, .pieceSeconds = never, .fetchSeconds = never});
    // The owner hangs in the middle of its answer until the deadline has passed and another has copied.
    Peer other(runLoop);
    bool isHanging = false;
    peer->copy({{.target = "UTF8_STRING", .bytes = "late", .meanwhile = [&] {
                     if (std::exchange(isHanging, true)) return;
                     wait([&] { return !drops.empty(); });
                     other.copyText("next");
                     EXPECT_EQ(nextText(atOnce), "next");
                 }}});
    ASSERT_TRUE(wait([&] { return isHanging && text() == "next"; }));
    settle();
    EXPECT_EQ(text(), "next");
    // The owner gets an error for the window that has gone; the pasteboard gets nothing.
    EXPECT_GT(peer->errors(), 0);
}

TEST_F(HostileTest, RequestorsThatNeverTakeOrDie) {
    const std::string large(3 * megabyte, 'x');
    x11::TransferLimits limits{.sendSeconds = 0.1};
    open(limits);
    write(large);
    // A requestor that never deletes the property runs into the deadline.
    ASSERT_TRUE(peer->pasteAndHang("UTF8_STRING"));
    EXPECT_EQ(pasteboard->activeTransfers(), 1U);
    EXPECT_TRUE(wait([&] { return pasteboard->activeTransfers() == 0; }));

    limits.sendSeconds = never;
    limits.transfers = 8;
    open(limits);
    write(large);
    auto hanging = std::make_unique<Peer>(runLoop);
    for (int number = 0; number < 8; ++number) EXPECT_TRUE(hanging->pasteAndHang("UTF8_STRING"));
    EXPECT_EQ(pasteboard->activeTransfers(), 8U);
    // No program gets unlimited memory of ours, and none takes another's share of it.
    EXPECT_FALSE(hanging->pasteAndHang("UTF8_STRING"));
    EXPECT_TRUE(peer->paste("UTF8_STRING") == large);
    // A requestor that dies takes its transfers with it.
    hanging.reset();
    EXPECT_TRUE(wait([&] { return pasteboard->activeTransfers() == 0; }, atOnce));
    expectNextCopy();
}

TEST_F(HostileTest, AFloodOfRequestsHoldsUpNeitherThePersonNorAnotherProgram) {
    const std::string text(900'000, 'x');
    write(text);
    x11::KeyGrabs grabs(*connection, *keyboard);
    x11::Hotkeys hotkeys(*connection, grabs);
    bool isPressed = false;
    const auto handler = Hotkeys::InstallEventHandler([&] { isPressed = true; });
    const auto hotkey = hotkeys.RegisterEventHotKey(9, cmdKey, handler);
    ASSERT_TRUE(hotkey);
    Peer flooding(runLoop);
    // More than 4 GB, all of it asked for before the person does anything.
    flooding.flood(300, std::vector<std::string>(16, "UTF8_STRING"));
    Person person;
    person.press(KEY_LEFTMETA);
    person.typeKey(KEY_V);
    person.release(KEY_LEFTMETA);
    ASSERT_TRUE(wait([&] { return isPressed; }, 60));
    EXPECT_LE(flooding.answers(), 4);
    EXPECT_TRUE(peer->paste("UTF8_STRING") == text);
    EXPECT_LE(flooding.answers(), 16);
    // Nor is anything sent to it when it has gone.
    flooding.die();
    EXPECT_TRUE(wait([&] { return pasteboard->activeTransfers() == 0; }));
    expectNextCopy();
}

}  // namespace vellumix::tests
