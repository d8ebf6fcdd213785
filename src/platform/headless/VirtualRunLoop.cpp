#include "platform/headless/VirtualRunLoop.h"

#include <algorithm>
#include <vector>

namespace vellumix::headless {

namespace {

/// A moment in 2026; any would do.
constexpr Date start{800000000};
constexpr Date farFuture{1e12};

class VirtualWorkItem final : public WorkItem {
public:
    explicit VirtualWorkItem(Work work) : work(std::move(work)) {}
    void cancel() override { work = nullptr; }
    bool isDone() const { return !work; }
    void run() {
        if (const auto work = std::exchange(this->work, nullptr)) work();
    }

private:
    Work work;
};

}  // namespace

class VirtualTimer final : public NSTimer {
public:
    VirtualTimer(VirtualRunLoop& loop, double interval, bool repeats, Work work)
        : loop(loop),
          schedule(loop.schedule_),
          state(std::make_shared<State>(State{interval, repeats, std::move(work)})) {
        arm(this->loop, state, this->loop.now() + interval);
    }
    ~VirtualTimer() override { invalidate(); }
    void invalidate() override {
        state->isValid = false;
        if (const auto schedule = this->schedule.lock()) schedule->erase(state->next);
    }
    bool isValid() const override { return state->isValid; }

private:
    struct State {
        double interval;
        bool repeats;
        Work work;
        bool isValid = true;
        VirtualRunLoop::Moment next{};
    };

    static void arm(VirtualRunLoop& loop, const std::shared_ptr<State>& state, Date due) {
        state->next = loop.schedule(due, [&loop, state, due] {
            // Armed again first, so that the timer goes on firing inside a modal run that its work begins.
            state->isValid = state->repeats;
            if (state->repeats) arm(loop, state, due + state->interval);
            const auto work = state->repeats ? state->work : std::exchange(state->work, nullptr);
            work();
        });
    }

    VirtualRunLoop& loop;
    std::weak_ptr<VirtualRunLoop::Schedule> schedule;
    std::shared_ptr<State> state;
};

class VirtualQueue final : public SerialQueue {
public:
    explicit VirtualQueue(VirtualRunLoop& loop) : loop(loop) {}
    ~VirtualQueue() override {
        for (const auto& [moment, item] : waiting) {
            if (moment.first <= loop.now()) item->run();
            item->cancel();
        }
    }

    std::shared_ptr<WorkItem> asyncAfter(double seconds, Work work) override {
        auto item = std::make_shared<VirtualWorkItem>(std::move(work));
        std::erase_if(waiting, [](const auto& entry) { return entry.second->isDone(); });
        const auto moment = loop.schedule(loop.now() + seconds, [item] { item->run(); });
        waiting.emplace_back(moment, item);
        return item;
    }
    void sync(const Work& work) override {
        for (const auto& [moment, item] : waiting) {
            if (moment.first <= loop.now()) item->run();
        }
        work();
    }

private:
    VirtualRunLoop& loop;
    std::vector<std::pair<VirtualRunLoop::Moment, std::shared_ptr<VirtualWorkItem>>> waiting;
};

double VirtualRunLoop::uptime() const { return now_.secondsSinceReference - start.secondsSinceReference; }

VirtualRunLoop::VirtualRunLoop() : now_(start), schedule_(std::make_shared<Schedule>()) {}
VirtualRunLoop::~VirtualRunLoop() = default;

VirtualRunLoop::Moment VirtualRunLoop::schedule(Date date, Work work) {
    const Moment moment{date, sequence++};
    schedule_->emplace(moment, std::move(work));
    return moment;
}

void VirtualRunLoop::post(Work work) { schedule(now_, std::move(work)); }
void VirtualRunLoop::postAfter(double seconds, Work work) { schedule(now_ + seconds, std::move(work)); }
void VirtualRunLoop::background(Work work) { schedule(now_, std::move(work)); }

std::unique_ptr<NSTimer> VirtualRunLoop::repeatingTimer(double interval, Work work) {
    return std::make_unique<VirtualTimer>(*this, interval, true, std::move(work));
}

std::unique_ptr<NSTimer> VirtualRunLoop::oneShotTimer(double seconds, Work work) {
    return std::make_unique<VirtualTimer>(*this, seconds, false, std::move(work));
}

std::unique_ptr<SerialQueue> VirtualRunLoop::serialQueue(const std::string&) {
    return std::make_unique<VirtualQueue>(*this);
}

bool VirtualRunLoop::runNext(Date limit) {
    if (schedule_->empty() || schedule_->begin()->first.first > limit) return false;
    auto next = schedule_->extract(schedule_->begin());
    now_ = std::max(now_, next.key().first);
    next.mapped()();
    return true;
}

void VirtualRunLoop::run() {
    while (!stopped && runNext(farFuture)) {
    }
    stopped = false;
}

void VirtualRunLoop::stop() { stopped = true; }

void VirtualRunLoop::runUntil(const std::function<bool()>& isDone) {
    while (!stopped && !isDone() && runNext(farFuture)) {
    }
}

void VirtualRunLoop::advance(double seconds) {
    const auto end = now_ + seconds;
    while (runNext(end)) {
    }
    now_ = std::max(now_, end);
}

}  // namespace vellumix::headless
