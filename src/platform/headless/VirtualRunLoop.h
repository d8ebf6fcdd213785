#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "platform/foundation/loop/RunLoop.h"

namespace vellumix::headless {

/// A run loop whose time moves only when told, and then jumps from deadline to deadline. One thread stands
/// for all: background work and serial queues run inside it, in order of (deadline, order of the calls).
class VirtualRunLoop final : public RunLoop {
public:
    VirtualRunLoop();
    ~VirtualRunLoop() override;

    Date now() const override { return now_; }
    double uptime() const override;
    void post(Work work) override;
    /// No work of others is under way in memory that could keep anybody waiting.
    void postBehind(Work work) override { post(std::move(work)); }
    void postAfter(double seconds, Work work) override;
    std::unique_ptr<NSTimer> repeatingTimer(double interval, Work work) override;
    std::unique_ptr<NSTimer> oneShotTimer(double seconds, Work work) override;
    void background(Work work) override;
    std::unique_ptr<SerialQueue> serialQueue(const std::string& label) override;
    /// Ends at `stop`, or when nothing is left to wait for.
    void run() override;
    void stop() override;
    /// Ends also when nothing is left to wait for.
    void runUntil(const std::function<bool()>& isDone) override;

    /// Runs everything that falls due within the next `seconds`, and leaves the clock there.
    void advance(double seconds);
    /// Runs what is due now.
    void settle() { advance(0); }
    /// How much waits for its time, cancelled work of queues included.
    std::size_t pending() const { return schedule_->size(); }

private:
    friend class VirtualTimer;
    friend class VirtualQueue;
    using Moment = std::pair<Date, std::uint64_t>;
    using Schedule = std::map<Moment, Work>;

    Moment schedule(Date date, Work work);
    bool runNext(Date limit);

    Date now_;
    std::uint64_t sequence = 0;
    // Shared, so that timers and queues that outlive the loop find out.
    std::shared_ptr<Schedule> schedule_;
    bool stopped = false;
};

}  // namespace vellumix::headless
