#pragma once

#include <functional>
#include <memory>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/observation/Observation.h"

namespace vellumix::linux_desktop {

/// The main run loop on GLib's default main context, with the system's clocks. Made on the main thread.
///
/// Closures and timers run in order of their moments, at default priority, one to an iteration; between two
/// of them the other sources of the context get their turn. An idle loop doesn't wake.
class GLibRunLoop final : public RunLoop {
public:
    GLibRunLoop();
    ~GLibRunLoop() override;

    Date now() const override;
    double uptime() const override;
    void post(Work work) override;
    void postBehind(Work work) override;
    void postAfter(double seconds, Work work) override;
    std::unique_ptr<NSTimer> repeatingTimer(double interval, Work work) override;
    std::unique_ptr<NSTimer> oneShotTimer(double seconds, Work work) override;
    void background(Work work) override;
    std::unique_ptr<SerialQueue> serialQueue(const std::string& label) override;
    void run() override;
    /// Also ends the nested runs, whose condition then isn't true, and a `run` that is still to come.
    void stop() override;
    void runUntil(const std::function<bool()>& isDone) override;

    enum class Readiness { toRead, toWrite, toReadOrWrite };
    /// Calls `dispatch` on the main thread whenever the descriptor is ready or hung up, and also, before
    /// the loop sleeps, while `hasPending` is true: for clients that read ahead into a queue of their own. A
    /// nested run inside `dispatch` calls both again.
    Observation watch(int descriptor, std::function<bool()> hasPending, std::function<void()> dispatch,
                      Readiness readiness = Readiness::toRead);
    /// Calls `handler` on the main thread when the process gets SIGTERM, SIGINT or SIGHUP.
    Observation onTerminationSignal(Work handler);

private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace vellumix::linux_desktop
