#pragma once

#include <utility>

#include "platform/foundation/observation/ObserverList.h"
#include "platform/foundation/observation/ReadTracker.h"
#include "platform/foundation/promises/Describing.h"
#include "platform/foundation/promises/MainThread.h"

namespace vellumix {

/// A property whose observers hear of every assignment and every change in place, once each, after it. Reads
/// are told to the `ReadTracker` in force. Main thread.
template <class T>
class Published {
public:
    Published() = default;
    explicit Published(T value) : value(std::move(value)) {}

    const T& get() const {
        assertMainThread();
        if (auto* tracker = ReadTracker::current()) tracker->didRead(observers);
        return value;
    }
    const T& operator*() const { return get(); }
    const T* operator->() const { return &get(); }

    void set(T value) {
        assertMayChange();
        this->value = std::move(value);
        observers.notify();
    }
    /// Changes the value in place.
    template <class Change>
    void update(Change change) {
        assertMayChange();
        change(value);
        observers.notify();
    }

    Observation observe(std::function<void()> observer) { return observers.add(std::move(observer)); }

private:
    static void assertMayChange() {
        assertMainThread();
        assertNotDescribing("a published property was changed");
    }

    T value{};
    // A read through a constant property may begin an observation.
    mutable ObserverList<> observers;
};

}  // namespace vellumix
