#pragma once

#include <functional>
#include <memory>
#include <typeindex>
#include <utility>

#include "platform/foundation/promises/MainThread.h"
#include "platform/view/values/Evaluation.h"

namespace vellumix::view {

/// Where a `State` keeps its value: in the tree, for as long as the view with its identity is there.
template <class T>
class StateSlot final : public StateStorage {
public:
    explicit StateSlot(T initial) : initial(initial), value_(std::move(initial)) {}

    const T& value() const { return value_; }
    void set(T value) {
        assertMainThread();
        assertNotDescribing("a state was changed");
        if (value == value_) return;
        value_ = std::move(value);
        changed();
    }
    bool isInitial() const override { return value_ == initial; }

private:
    T initial;
    T value_;
};

/// A safe handle to a value that lives elsewhere. Once that has gone, it reads its default and writes
/// nothing.
template <class T>
class Binding {
public:
    /// A value of its own that can't be written.
    explicit Binding(T constant) : default_(std::move(constant)) {}
    Binding(const std::shared_ptr<StateSlot<T>>& slot, T initial)
        : default_(std::move(initial)),
          get_([weak = std::weak_ptr(slot)](const T& otherwise) {
              const auto alive = weak.lock();
              return alive ? alive->value() : otherwise;
          }),
          set_([weak = std::weak_ptr(slot)](T value) {
              if (const auto alive = weak.lock()) alive->set(std::move(value));
          }) {}
    /// A value that a service holds. The closures must hold the service weakly, or live no longer than it.
    Binding(std::function<T()> get, std::function<void(T)> set)
        : get_([get = std::move(get)](const T&) { return get(); }), set_(std::move(set)) {}

    T get() const { return get_ ? get_(default_) : default_; }
    void set(T value) const {
        if (set_) set_(std::move(value));
    }

private:
    T default_{};
    std::function<T(const T& otherwise)> get_;
    std::function<void(T)> set_;
};

/// A value that a view keeps from one `body()` to the next: a field of the view's struct, initialised with
/// its first value. Its life is that of the view's identity: place among its siblings, type, and explicit id.
///
/// A change redraws the view. In closures, capture the state or a binding by copy, never the view by `this`:
/// the struct may have been replaced by then.
template <class T>
class State {
public:
    State(T initial = T{}) : initial(std::move(initial)) {}
    State(const State& other) : initial(other.initial), slot((other.attach(), other.slot)) {}
    // A view's struct that moves finds its slot as a copy of it does.
    // NOLINTNEXTLINE(performance-move-constructor-init)
    State(State&& other) noexcept : State(std::as_const(other)) {}
    State& operator=(const State&) = delete;
    ~State() = default;

    T get() const {
        attach();
        const auto alive = slot.lock();
        return alive ? alive->value() : initial;
    }
    operator T() const { return get(); }

    /// Writes nothing where the view isn't in a tree.
    void set(T value) const {
        attach();
        if (const auto alive = slot.lock()) alive->set(std::move(value));
    }

    Binding<T> binding() const {
        attach();
        const auto alive = slot.lock();
        return alive ? Binding<T>(alive, initial) : Binding<T>(initial);
    }
    operator Binding<T>() const { return binding(); }

private:
    /// While the body of the view that this is a field of runs, its place in the struct names its slot.
    void attach() const {
        auto* evaluation = Evaluation::current();
        const auto place = evaluation ? evaluation->placeOf(this) : std::nullopt;
        if (!place) return;
        auto& stored = evaluation->storage(*place, typeid(T));
        if (!stored) {
            stored = std::make_shared<StateSlot<T>>(initial);
            stored->setOwner(evaluation->owner());
        }
        slot = std::static_pointer_cast<StateSlot<T>>(stored);
    }

    T initial;
    mutable std::weak_ptr<StateSlot<T>> slot;
};

}  // namespace vellumix::view
