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
    : value(value),
      size(size),
      storages(storages),
      owner_(std::move(owner)),
      environment_(environment),
      observations(observations),
      outer(running) {
    running = this;
}

Evaluation::~Evaluation() { running = outer; }

Evaluation* Evaluation::current() { return running; }

std::optional<std::size_t> Evaluation::placeOf(const void* field) const {
    // std::less orders unrelated addresses too.
    const std::less<const void*> before;
    const auto* begin = static_cast<const std::byte*>(value);
    if (!value || before(field, begin) || !before(field, begin + size)) return std::nullopt;
    return static_cast<std::size_t>(static_cast<const std::byte*>(field) - begin);
}

std::shared_ptr<StateStorage>& Evaluation::storage(std::size_t place, std::type_index type) {
    return storages[{place, type}];
}

void Evaluation::didRead(ObserverList<>& observers) {
    if (std::find(read.begin(), read.end(), &observers) != read.end()) return;
    read.push_back(&observers);
    observations.push_back(observers.add([owner = owner_] {
        if (const auto alive = owner.lock()) alive->stateDidChange();
    }));
}

const void* Environment::fromEvaluation(std::type_index type) {
    return running ? running->environment().find(type) : nullptr;
}

}  // namespace vellumix::view
