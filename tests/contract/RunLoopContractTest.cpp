// The contract of platform/foundation/loop/RunLoop.h, held by the virtual loop and the real one.

#include <gtest/gtest.h>

#include "platform/headless/VirtualRunLoop.h"
#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::tests {

struct LoopChoice {
    const char* name;
    std::unique_ptr<RunLoop> (*make)();
};

class RunLoopContract : public testing::TestWithParam<LoopChoice> {
protected:
    void serve(double seconds) {
        bool isPast = false;
        loop->postAfter(seconds, [&] { isPast = true; });
        loop->runUntil([&] { return isPast; });
        EXPECT_TRUE(isPast);
    }
    void append(char letter) { order += letter; }

    const std::unique_ptr<RunLoop> loop = GetParam().make();
    std::string order;
};

TEST_P(RunLoopContract, RunsInOrderOfTheMomentsAndThenOfTheCalls) {
    loop->postAfter(0.02, [&] { append('g'); });
    loop->postAfter(0.01, [&] { append('e'); });
    loop->postAfter(0.01, [&] { append('f'); });
    loop->background([&] { loop->post([&] { append('.'); }); });
    loop->post([&] {
        append('a');
        loop->post([&] { append('c'); });
        append('b');
    });
    EXPECT_EQ(order, "") << "never inside the call";
    const auto uptime = loop->uptime();
    const auto now = loop->now();
    serve(0.03);
    EXPECT_GE(loop->uptime() - uptime, 0.029);
    EXPECT_GE(loop->now() - now, 0.029);
    EXPECT_EQ(std::erase(order, '.'), 1U) << "from another thread it comes at some time";
    EXPECT_EQ(order, "abcefg");
}

TEST_P(RunLoopContract, WhatHasRunIsDropped) {
    const auto token = std::make_shared<int>();
    const auto queue = loop->serialQueue("com.tarnwick.Vellumix.test");
    loop->post([token] {});
    loop->postBehind([token] {});
    loop->postAfter(0.001, [token] {});
    loop->background([&loop = *loop, token] { loop.post([token] {}); });
    queue->asyncAfter(0, [token] {});
    queue->sync([] {});
    // Another thread drops its closure without waking the loop.
    for (int turn = 0; turn < 200 && token.use_count() > 1; ++turn) serve(0.01);
    EXPECT_EQ(token.use_count(), 1);
    queue->asyncAfter(600, [token] {})->cancel();
    EXPECT_EQ(token.use_count(), 1) << "nor is what was called off kept";
}

TEST_P(RunLoopContract, TimersEndByEveryRoad) {
    int firedOnce = 0;
    int fired = 0;
    std::unique_ptr<NSTimer> once = loop->oneShotTimer(0.001, [&] {
        ++firedOnce;
        once.reset();
    });
    std::unique_ptr<NSTimer> repeating = loop->repeatingTimer(0.001, [&] {
        if (++fired == 4) repeating->invalidate();
    });
    auto invalidated = loop->oneShotTimer(0.001, [&] { ADD_FAILURE(); });
    invalidated->invalidate();
    auto destroyed = loop->oneShotTimer(0.001, [&] { ADD_FAILURE(); });
    destroyed.reset();
    const auto token = std::make_shared<int>();
    auto holding = loop->oneShotTimer(0.002, [&, token] { ++firedOnce; });
    EXPECT_TRUE(holding->isValid());
    serve(0.02);
    EXPECT_EQ(firedOnce, 2);
    EXPECT_EQ(fired, 4);
    EXPECT_FALSE(once);
    EXPECT_FALSE(repeating->isValid());
    EXPECT_FALSE(holding->isValid());
    EXPECT_EQ(token.use_count(), 1) << "the closure outlived its run";
}

TEST_P(RunLoopContract, ANestedRunServesTimersAndPostsAndOneStopEndsAllOfThem) {
    int fired = 0;
    const auto timer = loop->repeatingTimer(0.002, [&] { ++fired; });
    loop->post([&] {
        bool isPosted = false;
        loop->post([&] { isPosted = true; });
        loop->runUntil([&] { return isPosted && fired >= 3; });
        append(isPosted && fired >= 3 ? 'n' : '-');
        loop->postAfter(0.001, [&] {
            loop->stop();
            loop->post([&] { append('x'); });
            append('s');
        });
        loop->runUntil([] { return false; });
        append('e');
    });
    loop->run();
    EXPECT_EQ(order, "nse");
    loop->stop();
    loop->run();
    EXPECT_EQ(order, "nse") << "also before it has begun";
    loop->runUntil([&] { return order.size() == 4; });
    EXPECT_EQ(order, "nsex") << "and the next run goes on";
}

TEST_P(RunLoopContract, AQueueRunsWhatIsDueAndDropsTheRest) {
    auto queue = loop->serialQueue("com.tarnwick.Vellumix.test");
    queue->asyncAfter(0, [&] { append('a'); });
    queue->asyncAfter(600, [&] { append('x'); });
    queue->asyncAfter(600, [&] { append('x'); })->cancel();
    queue->sync([&] { append('b'); });
    EXPECT_EQ(order, "ab");
    queue->asyncAfter(0, [&] { append('c'); });
    const auto late = queue->asyncAfter(600, [&] { append('x'); });
    queue.reset();
    EXPECT_EQ(order, "abc");
    late->cancel();
    serve(0.01);
    EXPECT_EQ(order, "abc");
}

INSTANTIATE_TEST_SUITE_P(Every, RunLoopContract,
                         testing::Values(LoopChoice{"headless",
                                                    []() -> std::unique_ptr<RunLoop> {
                                                        return std::make_unique<headless::VirtualRunLoop>();
                                                    }},
                                         LoopChoice{"glib",
                                                    []() -> std::unique_ptr<RunLoop> {
                                                        return std::make_unique<linux_desktop::GLibRunLoop>();
                                                    }}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace vellumix::tests
