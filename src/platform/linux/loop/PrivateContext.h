#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/linux/loop/GLibHandles.h"

namespace vellumix::linux_desktop {

/// A moment of the monotonic clock by which an answer must be there.
class Deadline {
public:
    static Deadline in(double seconds);
    /// Microseconds of `g_get_monotonic_time`.
    gint64 moment() const { return moment_; }
    bool hasPassed() const { return g_get_monotonic_time() >= moment_; }

private:
    explicit Deadline(gint64 moment) : moment_(moment) {}
    gint64 moment_;
};

/// One asynchronous operation of GIO, from its start to its callback.
class Operation {
public:
    using Start = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;

    /// Calls `start`, which must pass on its arguments. The callback comes on the context that is the
    /// thread's default one now, and keeps the operation alive until then.
    static std::shared_ptr<Operation> begin(const Start& start);

    bool isDone() const { return static_cast<bool>(result_); }
    /// For the operation's own finishing function, once, when it is done.
    GAsyncResult* result() const { return result_.get(); }
    void cancel() { g_cancellable_cancel(cancellable.get()); }

private:
    Operation() : cancellable(g_cancellable_new()) {}

    glib::Object<GCancellable> cancellable;
    glib::Object<GAsyncResult> result_;
};

/// Waits for operations on a context of its own, so that nothing of the program runs meanwhile: a timer that
/// fired here could find its owner half built. One thread.
class PrivateContext {
public:
    PrivateContext();
    /// Gives what was called off a last moment to end.
    ~PrivateContext();

    /// Makes this the thread's default context until the handle goes.
    glib::PushedContext push();
    /// Handles what has come in meanwhile; doesn't wait.
    void catchUp();
    /// Serves the context until the condition holds, or false at the deadline.
    bool waitUntil(const std::function<bool()>& isDone, Deadline deadline);
    /// Begins an operation and waits for its end. At the deadline it is called off, and is nothing if it
    /// doesn't end then.
    std::shared_ptr<Operation> perform(const Operation::Start& start, Deadline deadline);

private:
    glib::Context context;
    std::vector<std::shared_ptr<Operation>> abandoned;
};

}  // namespace vellumix::linux_desktop
