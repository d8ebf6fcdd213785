#pragma once

#include <utility>

#include "platform/foundation/ObserverList.h"

namespace vellumix {

/// A property whose observers hear of every assignment and every change in place, once each, after it. Main
/// thread.
template <class T>
class Published {
public:
    Published() = default;
    explicit Published(T value) : _value(std::move(value)) {}

    const T& get() const { return _value; }
    const T& operator*() const { return _value; }
    const T* operator->() const { return &_value; }

    void set(T value) {
        _value = std::move(value);
        _observers.notify();
    }
    /// Changes the value in place.
    template <class Change>
    void update(Change change) {
        change(_value);
        _observers.notify();
    }

    Observation observe(std::function<void()> observer) { return _observers.add(std::move(observer)); }

private:
    T _value{};
    ObserverList<> _observers;
};

}  // namespace vellumix
