#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/foundation/loop/Date.h"

namespace vellumix {

using Work = std::function<void()>;

/// A timer of the main run loop. Main thread only.
class NSTimer {
public:
    virtual ~NSTimer() = default;
    /// No firing after this, also when called from the firing. Destroying the timer does the same.
    virtual void invalidate() = 0;
    virtual bool isValid() const = 0;
};

/// Work that can be called off until it begins. Any thread. The closure is dropped once it has run or been
/// cancelled.
class WorkItem {
public:
    virtual ~WorkItem() = default;
    virtual void cancel() = 0;
};

/// A queue that runs one closure at a time, in order of their moments, off the main thread.
///
/// Its destruction runs what is due and drops what is not.
class SerialQueue {
public:
    virtual ~SerialQueue() = default;
    /// `seconds` from now, not less than 0.
    virtual std::shared_ptr<WorkItem> asyncAfter(double seconds, Work work) = 0;
    /// Runs the closure behind what is running or due, and returns after it. Never call it from the queue
    /// itself.
    virtual void sync(const Work& work) = 0;
};

/// The main run loop, the clock, and the roads off the main thread. Implemented by each backend.
class RunLoop {
public:
    virtual ~RunLoop() = default;

    /// The wall clock.
    virtual Date now() const = 0;
    /// Seconds from any moment, on a clock that doesn't jump and never goes back.
    virtual double uptime() const = 0;
    /// Runs the closure on the main thread, in order of the calls. Any thread; never runs it inside the call.
    virtual void post(Work work) = 0;
    /// For what other programs ask of this one: runs the closure on the main thread when nothing else is due,
    /// in order of the calls, and after 20 ms even if something is. Any thread.
    virtual void postBehind(Work work) = 0;
    /// As `post`, `seconds` after the call on a clock that doesn't jump. Main thread.
    virtual void postAfter(double seconds, Work work) = 0;
    /// Fires every `interval` seconds in every mode of the loop, modal runs included. Main thread.
    virtual std::unique_ptr<NSTimer> repeatingTimer(double interval, Work work) = 0;
    /// Fires once after `seconds`. Main thread.
    virtual std::unique_ptr<NSTimer> oneShotTimer(double seconds, Work work) = 0;
    /// Runs the closure on some other thread, at the priority of work that a person waits for. Any thread.
    virtual void background(Work work) = 0;
    virtual std::unique_ptr<SerialQueue> serialQueue(const std::string& label) = 0;

    /// Serves the loop until `stop`. Main thread.
    virtual void run() = 0;
    /// Ends `run`, after the closures that are running. Main thread.
    virtual void stop() = 0;
    /// A nested, modal run: serves the loop until `isDone` is true. Main thread.
    virtual void runUntil(const std::function<bool()>& isDone) = 0;

    /// The loop of the platform in force.
    static RunLoop& main();
    /// Called by the platform's scope alone.
    static RunLoop* install(RunLoop* loop);
};

/// Runs the closure asynchronously on the main thread. Any thread.
void onMain(Work work);
/// The same `seconds` from now. Main thread.
void onMainAfter(double seconds, Work work);

}  // namespace vellumix
