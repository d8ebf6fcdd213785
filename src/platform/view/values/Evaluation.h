#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <typeindex>
#include <utility>

#include "platform/foundation/observation/ReadTracker.h"
#include "platform/foundation/promises/Describing.h"
#include "platform/view/values/Environment.h"

namespace vellumix::view {

/// What is told that a state has changed.
class StateOwner {
public:
    virtual ~StateOwner() = default;
    virtual void stateDidChange() = 0;
};

/// A state's value, whatever its type.
class StateStorage {
public:
    virtual ~StateStorage() = default;
    /// Whether it holds what it held at first, so that nothing is lost with it.
    virtual bool isInitial() const = 0;
    void setOwner(std::weak_ptr<StateOwner> owner) { this->owner = std::move(owner); }

protected:
    void changed() {
        if (const auto owner = this->owner.lock()) owner->stateDidChange();
    }

private:
    std::weak_ptr<StateOwner> owner;
};

/// The states of one view, by their place in its struct.
using StateStorages = std::map<std::pair<std::size_t, std::type_index>, std::shared_ptr<StateStorage>>;

/// The running of one view's `body()`: what the states, the environment and published properties that are
/// read in it belong to. Main thread; evaluations nest. Nothing is done meanwhile but describe.
class Evaluation final : ReadTracker {
public:
    /// `value` is the view's struct, of `size` bytes; null where no struct is evaluated.
    Evaluation(const void* value, std::size_t size, StateStorages& storages, std::weak_ptr<StateOwner> owner,
               const Environment& environment, std::vector<Observation>& observations);
    ~Evaluation() override;

    static Evaluation* current();

    /// The offset of a field of the view; nothing for what isn't a field of it.
    std::optional<std::size_t> placeOf(const void* field) const;
    std::shared_ptr<StateStorage>& storage(std::size_t place, std::type_index type);
    const std::weak_ptr<StateOwner>& owner() const { return owner_; }
    const Environment& environment() const { return environment_; }

private:
    void didRead(ObserverList<>& observers) override;

    const void* value;
    std::size_t size;
    StateStorages& storages;
    std::weak_ptr<StateOwner> owner_;
    const Environment& environment_;
    std::vector<Observation>& observations;
    std::vector<const void*> read;
    Evaluation* outer;
    Describing describing;
};

}  // namespace vellumix::view
