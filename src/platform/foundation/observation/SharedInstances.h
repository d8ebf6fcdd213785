#pragma once

#include <memory>
#include <typeindex>
#include <unordered_map>
#include <vector>

#include "platform/foundation/promises/MainThread.h"

namespace vellumix {

/// The process-wide instances of services, each made on first use and destroyed in reverse order. Main thread
/// only.
///
/// They belong to the platform in force: a test that installs its own platform starts with none of them.
class SharedInstances {
public:
    /// Those of the platform in force.
    static SharedInstances& current();
    /// Called by the platform's scope alone; returns what was in force.
    static SharedInstances* install(SharedInstances* instances);

    /// Instances in force for its own lifetime, where there is no platform; what was in force before comes
    /// back.
    class Scope;

    SharedInstances() = default;
    SharedInstances(const SharedInstances&) = delete;
    SharedInstances& operator=(const SharedInstances&) = delete;
    ~SharedInstances() { clear(); }

    void clear() {
        while (!instances.empty()) instances.pop_back();
        byType.clear();
    }

    template <class T>
    T& get() {
        assertMainThread();
        auto& slot = byType[typeid(T)];
        if (!slot) {
            auto instance = std::make_shared<T>();
            slot = instance.get();
            instances.push_back(std::move(instance));
        }
        return *static_cast<T*>(slot);
    }

private:
    std::unordered_map<std::type_index, void*> byType;
    std::vector<std::shared_ptr<void>> instances;
};

class SharedInstances::Scope {
public:
    Scope() : outer(install(&instances)) {}
    ~Scope() { install(outer); }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

private:
    SharedInstances instances;
    SharedInstances* outer;
};

}  // namespace vellumix
