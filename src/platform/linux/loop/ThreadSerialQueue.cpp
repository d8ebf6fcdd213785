#include "platform/linux/loop/ThreadSerialQueue.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

namespace vellumix::linux_desktop {

namespace {

using Clock = std::chrono::steady_clock;
using Key = std::pair<Clock::time_point, std::uint64_t>;

// The kernel keeps 15 characters of a thread's name.
constexpr std::size_t threadNameLimit = 15;

}  // namespace

struct ThreadSerialQueue::State {
    std::string threadName;
    std::mutex mutex;
    std::condition_variable changed;
    std::map<Key, Work> waiting;
    std::uint64_t nextSequence = 0;
    std::optional<Clock::time_point> ending;
    std::thread thread;

    Key add(Clock::duration delay, Work work) {
        const std::lock_guard lock(mutex);
        const Key key(Clock::now() + delay, nextSequence++);
        waiting.emplace(key, std::move(work));
        if (!thread.joinable()) thread = std::thread([this] { serve(); });
        if (waiting.begin()->first == key) changed.notify_one();
        return key;
    }

    void serve() {
        pthread_setname_np(pthread_self(), threadName.c_str());
        std::unique_lock lock(mutex);
        for (;;) {
            const auto first = waiting.begin();
            if (first == waiting.end() || first->first.first > ending.value_or(Clock::now())) {
                if (ending) return;
                if (first == waiting.end())
                    changed.wait(lock);
                else
                    changed.wait_until(lock, Clock::time_point(first->first.first));
                continue;
            }
            auto node = waiting.extract(first);
            lock.unlock();
            node.mapped()();
            // The closure goes before the next one runs and while the lock is open: it may own anything.
            node = {};
            lock.lock();
        }
    }
};

class ThreadSerialQueue::Item final : public WorkItem {
public:
    Item(const std::shared_ptr<State>& state, Key key) : state(state), key(key) {}

    void cancel() override {
        const auto state = this->state.lock();
        if (!state) return;
        std::map<Key, Work>::node_type dropped;
        const std::lock_guard lock(state->mutex);
        dropped = state->waiting.extract(key);
    }

private:
    std::weak_ptr<State> state;
    Key key;
};

ThreadSerialQueue::ThreadSerialQueue(const std::string& label) : state(std::make_shared<State>()) {
    state->threadName = label.substr(label.rfind('.') + 1).substr(0, threadNameLimit);
}

ThreadSerialQueue::~ThreadSerialQueue() {
    {
        const std::lock_guard lock(state->mutex);
        state->ending = Clock::now();
        state->changed.notify_one();
    }
    if (state->thread.joinable()) state->thread.join();
}

std::shared_ptr<WorkItem> ThreadSerialQueue::asyncAfter(double seconds, Work work) {
    const auto delay = std::chrono::duration<double>(std::max(seconds, 0.0));
    const auto key = state->add(std::chrono::duration_cast<Clock::duration>(delay), std::move(work));
    return std::make_shared<Item>(state, key);
}

void ThreadSerialQueue::sync(const Work& work) {
    std::promise<void> done;
    state->add(Clock::duration::zero(), [&] {
        work();
        done.set_value();
    });
    done.get_future().wait();
}

}  // namespace vellumix::linux_desktop
