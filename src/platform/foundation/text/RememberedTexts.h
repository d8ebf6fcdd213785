#pragma once

#include <functional>

#include "platform/foundation/observation/ObserverList.h"

namespace vellumix {

/// Where those meet who keep texts for speed and whoever has made one of them secret. Main thread only.
class RememberedTexts {
public:
    static RememberedTexts& shared();

    /// Calls it whenever no text that was shown before may stay in memory for that reason alone.
    [[nodiscard]] Observation onForget(std::function<void()> observer) {
        return observers.add(std::move(observer));
    }
    void forget() { observers.notify(); }

private:
    ObserverList<> observers;
};

}  // namespace vellumix
