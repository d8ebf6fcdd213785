#include "platform/view/values/Evaluation.h"

#include <algorithm>
#include <functional>

namespace vellumix::view {

namespace {
Evaluation* running = nullptr;
}

Evaluation::Evaluation(const void* value, std::size_t size, StateStorages& storages,
                       std::weak_ptr<StateOwner> owner, const Environment& environment,
                       std::vector<Observation>& observations)
    : _value(value),
      _size(size),
      _storages(storages),
      _owner(std::move(owner)),
      _environment(environment),
      _observations(observations),
      _outer(running) {
    running = this;
}

Evaluation::~Evaluation() { running = _outer; }

Evaluation* Evaluation::current() { return running; }

std::optional<std::size_t> Evaluation::placeOf(const void* field) const {
    // std::less orders unrelated addresses too.
    const std::less<const void*> before;
    const auto* begin = static_cast<const std::byte*>(_value);
    if (!_value || before(field, begin) || !before(field, begin + _size)) return std::nullopt;
    return static_cast<std::size_t>(static_cast<const std::byte*>(field) - begin);
}

std::shared_ptr<StateStorage>& Evaluation::storage(std::size_t place, std::type_index type) {
    return _storages[{place, type}];
}

void Evaluation::didRead(ObserverList<>& observers) {
    if (std::find(_read.begin(), _read.end(), &observers) != _read.end()) return;
    _read.push_back(&observers);
    _observations.push_back(observers.add([owner = _owner] {
        if (const auto alive = owner.lock()) alive->stateDidChange();
    }));
}

const void* Environment::fromEvaluation(std::type_index type) {
    return running ? running->environment().find(type) : nullptr;
}

}  // namespace vellumix::view
