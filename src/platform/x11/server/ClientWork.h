#pragma once

#include <xcb/xcb.h>

#include <functional>

#include "platform/foundation/loop/FairQueue.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"

namespace vellumix::x11 {

/// What other programs of the display have this one do, in small steps: a few in each turn of the loop that
/// has nothing else to do, the clients one after another. No client can hold up the person, nor another
/// client. Main thread.
class ClientWork {
public:
    /// As `Connection::clientOf` tells.
    using Client = std::uint32_t;
    /// At most one piece of a property; returns how many bytes were sent.
    using Step = std::function<std::size_t()>;

    explicit ClientWork(RunLoop& runLoop) : runLoop(runLoop) {}

    /// Does the step later, behind those of the client that wait already.
    void add(Client client, Step step);
    /// How many steps of the client's wait.
    std::size_t countOf(Client client) const { return waiting.countOf(client); }

private:
    void goOnLater();
    void takeTurn();

    RunLoop& runLoop;
    FairQueue<Client, Step> waiting;
    bool isTurnDue = false;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
