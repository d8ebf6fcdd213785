#include <gtest/gtest.h>

#include <unistd.h>
#include <atomic>
#include <csignal>
#include <future>
#include <string>

#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::linux_desktop {
namespace {

using std::chrono_literals::operator""s;

class RunLoopTest : public testing::Test {
protected:
    void runUntil(const std::function<bool()>& isDone) {
        bool isLate = false;
        const auto limit = loop.oneShotTimer(10, [&] { isLate = true; });
        loop.runUntil([&] { return isDone() || isLate; });
        EXPECT_FALSE(isLate);
    }

    GLibRunLoop loop;
    std::string order;
};

TEST_F(RunLoopTest, RunsClosuresInOrderOfTheirMoments) {
    loop.postAfter(0.02, [&] { order += 'e'; });
    loop.postAfter(0.01, [&] { order += 'd'; });
    loop.post([&] {
        order += 'a';
        loop.post([&] { order += 'c'; });
        order += 'b';
    });
    // All three have become due when the loop comes to them.
    const auto begin = loop.now();
    while (loop.now() - begin < 0.03) continue;
    runUntil([&] { return order.size() == 5; });
    // What was posted while they waited comes behind them.
    EXPECT_EQ(order, "abdec");
}

TEST_F(RunLoopTest, TakesClosuresFromAnyThreadAndDropsThemAfterTheirRun) {
    constexpr int perThread = 500;
    int ran = 0;
    auto token = std::make_shared<int>();
    for (int thread = 0; thread < 2; ++thread)
        loop.background([this, &ran, token] {
            for (int i = 0; i < perThread; ++i) loop.post([&ran, token] { ++ran; });
        });
    runUntil([&] { return ran == 2 * perThread && token.use_count() == 1; });
}

TEST_F(RunLoopTest, WorkForOthersStandsBackButIsNotForgotten) {
    loop.postBehind([&] { order += 'x'; });
    loop.postBehind([&] { order += 'y'; });
    for (const char c : {'a', 'b', 'c'}) loop.post([this, c] { order += c; });
    runUntil([&] { return order.size() == 5; });
    EXPECT_EQ(order, "abcxy");

    // A loop that is never idle.
    bool isDone = false;
    Work again = [&] {
        if (!isDone) loop.post([&] { again(); });
    };
    again();
    loop.background([&] { loop.postBehind([&] { loop.postBehind([&] { isDone = true; }); }); });
    runUntil([&] { return isDone; });
}

TEST_F(RunLoopTest, NestedRunsServeEverything) {
    int descriptors[2];
    ASSERT_EQ(::pipe(descriptors), 0);
    int fired = 0;
    bool isRead = false;
    const auto timer = loop.repeatingTimer(0.002, [&] { ++fired; });
    auto watch = loop.watch(
        descriptors[0], [] { return false; },
        [&] {
            char byte;
            if (::read(descriptors[0], &byte, 1) == 1) isRead = true;
        });
    bool isFinished = false;
    loop.post([&] {
        const int before = fired;
        bool isPosted = false;
        loop.post([&] { isPosted = true; });
        EXPECT_EQ(::write(descriptors[1], "x", 1), 1);
        runUntil([&] { return isPosted && isRead && fired >= before + 3; });
        isFinished = true;
    });
    runUntil([&] { return isFinished; });
    watch.cancel();
    ::close(descriptors[0]);
    ::close(descriptors[1]);
}

TEST_F(RunLoopTest, APendingQueueBehindADescriptorIsServedBeforeTheLoopSleeps) {
    int descriptors[2];
    ASSERT_EQ(::pipe(descriptors), 0);
    int pending = 3;
    auto watch = loop.watch(
        descriptors[0], [&] { return pending > 0; }, [&] { --pending; });
    runUntil([&] { return pending == 0; });
    watch.cancel();
    pending = 1;
    bool isPast = false;
    loop.postAfter(0.01, [&] { isPast = true; });
    runUntil([&] { return isPast; });
    EXPECT_EQ(pending, 1) << "called after its end";
    ::close(descriptors[0]);
    ::close(descriptors[1]);
}

TEST_F(RunLoopTest, ABusyThreadMissesFiringsInsteadOfCatchingUp) {
    int fired = 0;
    const auto timer = loop.repeatingTimer(0.01, [&] { ++fired; });
    const auto begin = loop.now();
    while (loop.now() - begin < 0.1) continue;
    runUntil([&] { return fired > 0; });
    bool isPast = false;
    loop.post([&] { isPast = true; });
    runUntil([&] { return isPast; });
    EXPECT_LE(fired, 2);
}

TEST_F(RunLoopTest, TerminationSignalsArriveAsWork) {
    int came = 0;
    auto observation = loop.onTerminationSignal([&] { ++came; });
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        const int before = came;
        std::raise(signal);
        runUntil([&] { return came > before; });
    }
    EXPECT_EQ(came, 3);
}

TEST_F(RunLoopTest, AnIdleLoopDoesNotWake) {
    const auto queue = loop.serialQueue("com.tarnwick.Vellumix.test");
    queue->sync([] {});
    const auto timer = loop.repeatingTimer(3600, [] {});
    auto loadOf = [] {
        timespec time{};
        ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    };
    int wakeUps = 0;
    bool isPast = false;
    loop.postAfter(0.3, [&] { isPast = true; });
    const double before = loadOf();
    loop.runUntil([&] {
        ++wakeUps;
        return isPast;
    });
    // The look before the first sleep, one for what arming left behind, and the end.
    EXPECT_LE(wakeUps, 4);
    EXPECT_LT(loadOf() - before, 0.02);
}

class SerialQueueTest : public RunLoopTest {
protected:
    std::unique_ptr<SerialQueue> queue = loop.serialQueue("com.tarnwick.Vellumix.test");
};

TEST_F(SerialQueueTest, RunsInOrderOfTheMoments) {
    std::promise<void> done;
    queue->asyncAfter(0.03, [&] {
        order += 'c';
        done.set_value();
    });
    queue->asyncAfter(0.01, [&] { order += 'b'; });
    queue->asyncAfter(0, [&] { order += 'a'; });
    ASSERT_EQ(done.get_future().wait_for(10s), std::future_status::ready);
    EXPECT_EQ(order, "abc");
}

TEST_F(SerialQueueTest, SyncWaitsBehindWhatRunsOrIsDueOnly) {
    std::promise<void> hasBegun, mayEnd;
    queue->asyncAfter(0, [&] {
        hasBegun.set_value();
        mayEnd.get_future().wait();
        order += 'a';
    });
    hasBegun.get_future().wait();
    queue->asyncAfter(0, [&] { order += 'b'; });
    queue->asyncAfter(600, [&] { order += 'x'; });
    mayEnd.set_value();
    queue->sync([&] { order += 'c'; });
    EXPECT_EQ(order, "abc");
}

TEST_F(SerialQueueTest, CancelDropsTheClosureAndNothingElse) {
    auto token = std::make_shared<int>();
    const auto waiting = queue->asyncAfter(600, [token] {});
    EXPECT_EQ(token.use_count(), 2);
    waiting->cancel();
    EXPECT_EQ(token.use_count(), 1);
    waiting->cancel();

    std::promise<void> hasBegun, mayEnd;
    const auto running = queue->asyncAfter(0, [&, token] {
        hasBegun.set_value();
        mayEnd.get_future().wait();
        order += 'r';
    });
    hasBegun.get_future().wait();
    running->cancel();
    mayEnd.set_value();
    queue->sync([] {});
    EXPECT_EQ(order, "r");
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(SerialQueueTest, EndingRunsWhatIsDueAndDropsTheRest) {
    auto token = std::make_shared<int>();
    std::promise<void> mayEnd;
    queue->asyncAfter(0, [&] { mayEnd.get_future().wait(); });
    queue->asyncAfter(0, [&, token] { order += 'd'; });
    const auto late = queue->asyncAfter(600, [&, token] { order += 'x'; });
    mayEnd.set_value();
    queue.reset();
    EXPECT_EQ(order, "d");
    late->cancel();
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(RunLoopTest, TheEndOfTheLoopWaitsForTheBackgroundAndDropsWhatWaits) {
    auto token = std::make_shared<int>();
    std::promise<void> hasBegun;
    std::atomic<bool> hasEnded = false;
    {
        GLibRunLoop shortLived;
        shortLived.background([&] {
            hasBegun.set_value();
            usleep(20'000);
            hasEnded = true;
        });
        shortLived.postAfter(600, [token] {});
        hasBegun.get_future().wait();
    }
    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(token.use_count(), 1);
}

}  // namespace
}  // namespace vellumix::linux_desktop
