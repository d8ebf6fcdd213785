#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <future>

#include "linux/PrivateSession.h"
#include "platform/linux/bus/ControlInterface.h"
#include "platform/linux/bus/SessionInstance.h"
#include "platform/linux/bus/SessionService.h"
#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::linux_desktop {
namespace {

using Outcome = SessionService::Outcome;
using PanelRequest = SessionInstance::PanelRequest;
using Presence = SessionInstance::Presence;

class SessionServiceTest : public testing::Test {
protected:
    /// Runs a client, which blocks, beside the main loop that serves it.
    template <class Client>
    auto beside(Client client) {
        std::promise<decltype(client())> result;
        bool isDone = false;
        loop.background([&] {
            result.set_value(client());
            loop.post([&] { isDone = true; });
        });
        loop.runUntil([&] { return isDone; });
        return result.get_future().get();
    }

    PrivateSession session;
    GLibRunLoop loop;
};

TEST_F(SessionServiceTest, AnswersOthersAndEndsOnRequest) {
    EXPECT_EQ(SessionInstance().presence(), Presence::notRunning);
    EXPECT_FALSE(SessionInstance().status());
    EXPECT_FALSE(SessionInstance().quit());

    auto claim = SessionService::claim(loop);
    ASSERT_EQ(claim.outcome, Outcome::owner);
    EXPECT_FALSE(beside([] { return SessionInstance().status(); })) << "before the handlers";
    std::string asked;
    claim.service->setHandlers({
        .status = [] { return std::string(R"({"pinned":2})"); },
        .quit = [&] { loop.post([&] { claim.service.reset(); }); },
        .toggle = [&] { asked += "toggle "; },
        .show = [&] { asked += "show "; },
        .hide = [&] { asked += "hide "; },
    });
    EXPECT_EQ(beside([] { return SessionInstance().status(); }), R"({"pinned":2})");
    for (const auto request : {PanelRequest::hide, PanelRequest::show, PanelRequest::toggle}) {
        EXPECT_TRUE(beside([&] { return SessionInstance().ask(request); }));
    }
    EXPECT_EQ(asked, "hide show toggle ");

    const auto second = SessionService::claim(loop);
    EXPECT_EQ(second.outcome, Outcome::otherOwns);
    EXPECT_FALSE(second.service);

    EXPECT_TRUE(beside([] { return SessionInstance().quit(); }));
    EXPECT_FALSE(claim.service);
    EXPECT_EQ(SessionInstance().presence(), Presence::notRunning);
    EXPECT_EQ(SessionService::claim(loop).outcome, Outcome::owner) << "the name is free again";
}

TEST_F(SessionServiceTest, AFloodOfCallsHoldsUpNeitherTheLoopNorAnotherCaller) {
    auto claim = SessionService::claim(loop);
    ASSERT_EQ(claim.outcome, Outcome::owner);
    int served = 0;
    claim.service->setHandlers({.status = [&] { return std::to_string(++served); }});
    // Counted until the context has gone, which hands over what is still under way.
    int refused = 0;
    PrivateContext context;
    const auto flooding = connectToSessionBus(context, Deadline::in(5));
    ASSERT_TRUE(flooding);
    constexpr int calls = 500;
    constexpr int mostWaiting = 64;
    {
        const auto pushed = context.push();
        for (int time = 0; time < calls; ++time) {
            g_dbus_connection_call(
                flooding.get(), control::busName, control::objectPath, control::interfaceName, "Status",
                nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
                [](GObject* source, GAsyncResult* result, gpointer count) {
                    const glib::Variant reply(
                        g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
                    if (!reply) ++*static_cast<int*>(count);
                },
                &refused);
        }
    }
    ASSERT_TRUE(context.waitUntil([&] { return refused == calls - mostWaiting; }, Deadline::in(10)))
        << refused << " were refused, without the loop";

    int servedMeanwhile = -1;
    loop.post([&] { loop.post([&] { loop.post([&] { servedMeanwhile = served; }); }); });
    loop.runUntil([&] { return servedMeanwhile >= 0; });
    EXPECT_LE(servedMeanwhile, 2);
    EXPECT_TRUE(beside([] { return SessionInstance().status(); }));
    EXPECT_LE(served, mostWaiting + 1);
}

TEST_F(SessionServiceTest, LosingTheBusEndsNothing) {
    auto claim = SessionService::claim(loop);
    ASSERT_EQ(claim.outcome, Outcome::owner);
    session.endBus();
    bool isPast = false;
    loop.postAfter(0.02, [&] { isPast = true; });
    loop.runUntil([&] { return isPast; });
    claim.service.reset();
    EXPECT_EQ(SessionService::claim(loop).outcome, Outcome::noBus);
    EXPECT_EQ(SessionInstance().presence(), Presence::unknown);
}

TEST(SessionServiceWithoutBus, SaysSo) {
    PrivateSession session(PrivateSession::Bus::absent);
    GLibRunLoop loop;
    EXPECT_EQ(SessionService::claim(loop).outcome, Outcome::noBus);
    EXPECT_EQ(SessionInstance().presence(), Presence::unknown);
    EXPECT_FALSE(SessionInstance().status());
    const ScopedVariable nowhere("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    EXPECT_EQ(SessionService::claim(loop).outcome, Outcome::noBus);
}

}  // namespace
}  // namespace vellumix::linux_desktop
