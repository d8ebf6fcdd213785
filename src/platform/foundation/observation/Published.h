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
    explicit Published(T value) : _value(std::move(value)) {}

    const T& get() const {
        assertMainThread();
        if (auto* tracker = ReadTracker::current()) tracker->didRead(_observers);
        return _value;
    }
    const T& operator*() const { return get(); }
    const T* operator->() const { return &get(); }

    void set(T value) {
        assertMayChange();
        _value = std::move(value);
        _observers.notify();
    }
    /// Changes the value in place.
    template <class Change>
    void update(Change change) {
        assertMayChange();
        change(_value);
        _observers.notify();
    }

    Observation observe(std::function<void()> observer) { return _observers.add(std::move(observer)); }

private:
    static void assertMayChange() {
        assertMainThread();
        assertNotDescribing("a published property was changed");
    }

    T _value{};
    // A read through a constant property may begin an observation.
    mutable ObserverList<> _observers;
};

}  // namespace vellumix
