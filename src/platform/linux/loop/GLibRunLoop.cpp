#include "platform/linux/loop/GLibRunLoop.h"

#include <glib-unix.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/foundation/promises/MainThread.h"
#include "platform/linux/loop/GLibHandles.h"
#include "platform/linux/loop/ThreadSerialQueue.h"

namespace vellumix::linux_desktop {

namespace {

constexpr double microseconds = 1e6;
/// Some thirty years: no delay overflows the clock, however long it was asked for.
constexpr double longestDelay = 1e9;
/// Seconds that work for others stands back at most while there is other work.
constexpr double longestWait = 0.02;

gint64 duration(double seconds) {
    return static_cast<gint64>(std::clamp(seconds, 0.0, longestDelay) * microseconds);
}

/// A GSource whose functions are the members of `T`: `bool prepare()`, `bool check()`, `void dispatch()`.
template <class T>
glib::Source makeSource(T* object) {
    struct Instance {
        GSource base;
        T* object;
    };
    static GSourceFuncs functions{
        [](GSource* source, gint* timeout) -> gboolean {
            *timeout = -1;
            return reinterpret_cast<Instance*>(source)->object->prepare();
        },
        [](GSource* source) -> gboolean { return reinterpret_cast<Instance*>(source)->object->check(); },
        [](GSource* source, GSourceFunc, gpointer) -> gboolean {
            reinterpret_cast<Instance*>(source)->object->dispatch();
            return G_SOURCE_CONTINUE;
        },
        nullptr,
        nullptr,
        nullptr,
    };
    glib::Source source(g_source_new(&functions, sizeof(Instance)));
    reinterpret_cast<Instance*>(source.get())->object = object;
    // Nested, modal runs are served like the outer one.
    g_source_set_can_recurse(source.get(), TRUE);
    return source;
}

/// The closures that wait for their moment, in order of (moment, sequence) as a set of GLib timeouts wouldn't
/// keep it when several have become due together.
class Agenda {
public:
    /// Microseconds of the monotonic clock, and the number of the call.
    using Key = std::pair<gint64, std::uint64_t>;
    using SharedWork = std::shared_ptr<const Work>;

    explicit Agenda(int priority = G_PRIORITY_DEFAULT) : source(makeSource(this)) {
        g_source_set_priority(source.get(), priority);
        g_source_attach(source.get(), nullptr);
    }
    ~Agenda() { source.reset(); }

    Key addAfter(double seconds, SharedWork work) {
        const std::lock_guard lock(mutex);
        return insert(g_get_monotonic_time() + duration(seconds), std::move(work));
    }

    Key addAt(gint64 moment, SharedWork work) {
        const std::lock_guard lock(mutex);
        return insert(moment, std::move(work));
    }

    void remove(const Key& key) {
        std::map<Key, SharedWork>::node_type dropped;
        const std::lock_guard lock(mutex);
        dropped = waiting.extract(key);
        if (dropped) arm();
    }

    bool isEmpty() {
        const std::lock_guard lock(mutex);
        return waiting.empty();
    }

    // The source's ready time alone makes it due.
    bool prepare() { return false; }
    bool check() { return false; }

    void dispatch() {
        std::map<Key, SharedWork>::node_type due;
        {
            const std::lock_guard lock(mutex);
            if (!waiting.empty() && waiting.begin()->first.first <= g_get_monotonic_time())
                due = waiting.extract(waiting.begin());
            arm();
        }
        if (due) (*due.mapped())();
    }

private:
    Key insert(gint64 moment, SharedWork work) {
        const Key key(moment, nextSequence++);
        waiting.emplace(key, std::move(work));
        if (waiting.begin()->first == key) arm();
        return key;
    }

    void arm() {
        const gint64 moment = waiting.empty() ? -1 : waiting.begin()->first.first;
        // Each call wakes the context, so that an unchanged moment must not make one.
        if (std::exchange(armed, moment) != moment) g_source_set_ready_time(source.get(), moment);
    }

    std::mutex mutex;
    std::map<Key, SharedWork> waiting;
    std::uint64_t nextSequence = 0;
    gint64 armed = -1;
    glib::Source source;
};

/// One timer; it shares the closure with the agenda, so that the closure may destroy the timer.
class AgendaTimer final : public NSTimer {
public:
    enum class Kind { oneShot, repeating };

    AgendaTimer(const std::shared_ptr<Agenda>& agenda, Kind kind, double seconds, Work work)
        : state(std::make_shared<State>()) {
        state->agenda = agenda;
        state->kind = kind;
        state->interval = std::max<gint64>(duration(seconds), 1);
        state->work = std::move(work);
        state->isValid = true;
        state->arm(g_get_monotonic_time() + state->interval);
    }
    ~AgendaTimer() override { state->invalidate(); }

    void invalidate() override { state->invalidate(); }
    bool isValid() const override { return state->isValid; }

private:
    struct State : std::enable_shared_from_this<State> {
        std::weak_ptr<Agenda> agenda;
        Kind kind = Kind::oneShot;
        gint64 interval = 0;
        gint64 moment = 0;
        Work work;
        bool isValid = false;
        Agenda::Key key;

        void arm(gint64 next) {
            moment = next;
            const auto owner = agenda.lock();
            if (!owner) return;
            key = owner->addAt(next,
                               std::make_shared<const Work>([self = shared_from_this()] { self->fire(); }));
        }

        void fire() {
            if (!isValid) return;
            if (kind == Kind::oneShot) {
                isValid = false;
                std::exchange(work, nullptr)();
                return;
            }
            // The next firing keeps the beat; those that a busy thread has missed don't come in a row.
            const auto missed = (g_get_monotonic_time() - moment) / interval;
            arm(moment + (missed + 1) * interval);
            const auto running = work;
            running();
        }

        void invalidate() {
            if (!std::exchange(isValid, false)) return;
            if (const auto owner = agenda.lock()) owner->remove(key);
            const auto dropped = std::exchange(work, nullptr);
        }
    };

    std::shared_ptr<State> state;
};

/// A descriptor on the main context, with the reader's own queue behind it.
class Watch {
public:
    Watch(int descriptor, std::function<bool()> hasPending, std::function<void()> dispatch, int conditions)
        : hasPending(std::move(hasPending)), dispatch_(std::move(dispatch)), source(makeSource(this)) {
        tag = g_source_add_unix_fd(source.get(), descriptor,
                                   static_cast<GIOCondition>(conditions | G_IO_HUP | G_IO_ERR));
        g_source_attach(source.get(), nullptr);
    }

    bool prepare() { return hasPending(); }
    // GLib itself looks at the descriptor.
    bool check() { return hasPending(); }
    void dispatch() {
        // A copy, as the observation may end while the closure runs.
        const auto running = dispatch_;
        running();
    }

private:
    std::function<bool()> hasPending;
    std::function<void()> dispatch_;
    glib::Source source;
    gpointer tag = nullptr;
};

/// Passed by what goes to the pool's threads, on both sides: the sanitizer of threads doesn't see the locks
/// that GLib makes by itself.
void passGate() {
    static std::mutex gate;
    const std::lock_guard passing(gate);
}

void runPooled(gpointer data, gpointer) {
    passGate();
    const std::unique_ptr<Work> work(static_cast<Work*>(data));
    (*work)();
}

}  // namespace

struct GLibRunLoop::State {
    std::shared_ptr<Agenda> agenda = std::make_shared<Agenda>();
    /// What stands back behind everything else that is due.
    Agenda behind{G_PRIORITY_DEFAULT_IDLE};
    std::atomic<bool> isGuarded = false;
    // Conversions are few and large: more threads than these would only add memory.
    static constexpr int poolThreads = 2;
    glib::ThreadPool pool{g_thread_pool_new_full(
        runPooled, nullptr,
        [](gpointer data) { const std::unique_ptr<Work> dropped(static_cast<Work*>(data)); }, poolThreads,
        FALSE, nullptr)};
    bool isStopped = false;

    /// Lets one of those that stand back through now and then, however much else is due.
    void guard() {
        if (behind.isEmpty() || isGuarded.exchange(true)) return;
        agenda->addAfter(longestWait, std::make_shared<const Work>([this] {
                             isGuarded = false;
                             behind.dispatch();
                             guard();
                         }));
    }
};

GLibRunLoop::GLibRunLoop() : state(std::make_unique<State>()) {}
GLibRunLoop::~GLibRunLoop() = default;

Date GLibRunLoop::now() const {
    return Date::fromUnix(static_cast<double>(g_get_real_time()) / microseconds);
}

double GLibRunLoop::uptime() const { return static_cast<double>(g_get_monotonic_time()) / microseconds; }

void GLibRunLoop::post(Work work) {
    state->agenda->addAfter(0, std::make_shared<const Work>(std::move(work)));
}

void GLibRunLoop::postBehind(Work work) {
    state->behind.addAfter(0, std::make_shared<const Work>(std::move(work)));
    state->guard();
}

void GLibRunLoop::postAfter(double seconds, Work work) {
    assertMainThread();
    state->agenda->addAfter(seconds, std::make_shared<const Work>(std::move(work)));
}

std::unique_ptr<NSTimer> GLibRunLoop::repeatingTimer(double interval, Work work) {
    assertMainThread();
    return std::make_unique<AgendaTimer>(state->agenda, AgendaTimer::Kind::repeating, interval,
                                         std::move(work));
}

std::unique_ptr<NSTimer> GLibRunLoop::oneShotTimer(double seconds, Work work) {
    assertMainThread();
    return std::make_unique<AgendaTimer>(state->agenda, AgendaTimer::Kind::oneShot, seconds, std::move(work));
}

void GLibRunLoop::background(Work work) {
    auto* const handedOver = std::make_unique<Work>(std::move(work)).release();
    passGate();
    g_thread_pool_push(state->pool.get(), handedOver, nullptr);
}

std::unique_ptr<SerialQueue> GLibRunLoop::serialQueue(const std::string& label) {
    return std::make_unique<ThreadSerialQueue>(label);
}

void GLibRunLoop::run() {
    assertMainThread();
    while (!state->isStopped) g_main_context_iteration(nullptr, TRUE);
    state->isStopped = false;
}

void GLibRunLoop::stop() {
    assertMainThread();
    state->isStopped = true;
    g_main_context_wakeup(nullptr);
}

void GLibRunLoop::runUntil(const std::function<bool()>& isDone) {
    assertMainThread();
    while (!state->isStopped && !isDone()) g_main_context_iteration(nullptr, TRUE);
}

Observation GLibRunLoop::watch(int descriptor, std::function<bool()> hasPending,
                               std::function<void()> dispatch, Readiness readiness) {
    const int conditions = readiness == Readiness::toRead    ? G_IO_IN
                           : readiness == Readiness::toWrite ? G_IO_OUT
                                                             : G_IO_IN | G_IO_OUT;
    auto watch = std::make_shared<Watch>(descriptor, std::move(hasPending), std::move(dispatch), conditions);
    return Observation([watch]() mutable { watch.reset(); });
}

Observation GLibRunLoop::onTerminationSignal(Work handler) {
    struct Handler {
        Work work;
        std::vector<glib::Source> sources;
    };
    auto shared = std::make_shared<Handler>();
    shared->work = std::move(handler);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        glib::Source source(g_unix_signal_source_new(signal));
        g_source_set_callback(
            source.get(),
            [](gpointer data) -> gboolean {
                const auto running = *static_cast<const Work*>(data);
                running();
                return G_SOURCE_CONTINUE;
            },
            &shared->work, nullptr);
        g_source_set_can_recurse(source.get(), TRUE);
        g_source_attach(source.get(), nullptr);
        shared->sources.push_back(std::move(source));
    }
    return Observation([shared]() mutable { shared.reset(); });
}

}  // namespace vellumix::linux_desktop
