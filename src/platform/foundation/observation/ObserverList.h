#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

#include "platform/foundation/observation/Observation.h"
#include "platform/foundation/promises/MainThread.h"

namespace vellumix {

/// Observers called in the order in which they came. Main thread only.
///
/// Safe against everything an observer may do while it is called: one that is removed is not called any more,
/// one that is added waits for the next notification, and the list itself may be destroyed.
template <class... Arguments>
class ObserverList {
public:
    using Observer = std::function<void(Arguments...)>;

    Observation add(Observer observer) {
        assertMainThread();
        auto entry = std::make_shared<Entry>(Entry{std::move(observer)});
        this->entries->push_back(entry);
        return Observation([list = std::weak_ptr(this->entries), entry = std::weak_ptr(entry)] {
            const auto alive = entry.lock();
            if (!alive) return;
            alive->call = nullptr;
            if (const auto entries = list.lock()) std::erase(*entries, alive);
        });
    }

    void notify(Arguments... arguments) const {
        assertMainThread();
        const auto entries = *this->entries;
        for (const auto& entry : entries) {
            // A copy, as the observer may end its own observation while it runs.
            if (const auto call = entry->call) call(arguments...);
        }
    }

    bool empty() const { return entries->empty(); }

private:
    struct Entry {
        Observer call;
    };
    using Entries = std::vector<std::shared_ptr<Entry>>;

    std::shared_ptr<Entries> entries = std::make_shared<Entries>();
};

}  // namespace vellumix
