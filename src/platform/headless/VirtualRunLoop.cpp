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
    explicit VirtualWorkItem(Work work) : _work(std::move(work)) {}
    void cancel() override { _work = nullptr; }
    bool isDone() const { return !_work; }
    void run() {
        if (const auto work = std::exchange(_work, nullptr)) work();
    }

private:
    Work _work;
};

}  // namespace

class VirtualTimer final : public NSTimer {
public:
    VirtualTimer(VirtualRunLoop& loop, double interval, bool repeats, Work work)
        : _loop(loop),
          _schedule(loop._schedule),
          _state(std::make_shared<State>(State{interval, repeats, std::move(work)})) {
        arm(_loop, _state, _loop.now() + interval);
    }
    ~VirtualTimer() override { invalidate(); }
    void invalidate() override {
        _state->isValid = false;
        if (const auto schedule = _schedule.lock()) schedule->erase(_state->next);
    }
    bool isValid() const override { return _state->isValid; }

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
            const auto work = state->work;
            work();
        });
    }

    VirtualRunLoop& _loop;
    std::weak_ptr<VirtualRunLoop::Schedule> _schedule;
    std::shared_ptr<State> _state;
};

class VirtualQueue final : public SerialQueue {
public:
    explicit VirtualQueue(VirtualRunLoop& loop) : _loop(loop) {}
    ~VirtualQueue() override {
        for (const auto& [moment, item] : _waiting) {
            if (moment.first <= _loop.now()) item->run();
            item->cancel();
        }
    }

    std::shared_ptr<WorkItem> asyncAfter(double seconds, Work work) override {
        auto item = std::make_shared<VirtualWorkItem>(std::move(work));
        std::erase_if(_waiting, [](const auto& entry) { return entry.second->isDone(); });
        const auto moment = _loop.schedule(_loop.now() + seconds, [item] { item->run(); });
        _waiting.emplace_back(moment, item);
        return item;
    }
    void sync(const Work& work) override {
        for (const auto& [moment, item] : _waiting) {
            if (moment.first <= _loop.now()) item->run();
        }
        work();
    }

private:
    VirtualRunLoop& _loop;
    std::vector<std::pair<VirtualRunLoop::Moment, std::shared_ptr<VirtualWorkItem>>> _waiting;
};

double VirtualRunLoop::uptime() const { return _now.secondsSinceReference - start.secondsSinceReference; }

VirtualRunLoop::VirtualRunLoop() : _now(start), _schedule(std::make_shared<Schedule>()) {}
VirtualRunLoop::~VirtualRunLoop() = default;

VirtualRunLoop::Moment VirtualRunLoop::schedule(Date date, Work work) {
    const Moment moment{date, _sequence++};
    _schedule->emplace(moment, std::move(work));
    return moment;
}

void VirtualRunLoop::post(Work work) { schedule(_now, std::move(work)); }
void VirtualRunLoop::postAfter(double seconds, Work work) { schedule(_now + seconds, std::move(work)); }
void VirtualRunLoop::background(Work work) { schedule(_now, std::move(work)); }

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
    if (_schedule->empty() || _schedule->begin()->first.first > limit) return false;
    auto next = _schedule->extract(_schedule->begin());
    _now = std::max(_now, next.key().first);
    next.mapped()();
    return true;
}

void VirtualRunLoop::run() {
    _stopped = false;
    while (!_stopped && runNext(farFuture)) {
    }
}

void VirtualRunLoop::stop() { _stopped = true; }

void VirtualRunLoop::runUntil(const std::function<bool()>& isDone) {
    while (!isDone() && runNext(farFuture)) {
    }
}

void VirtualRunLoop::advance(double seconds) {
    const auto end = _now + seconds;
    while (runNext(end)) {
    }
    _now = std::max(_now, end);
}

}  // namespace vellumix::headless
