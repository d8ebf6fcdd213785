#include "platform/foundation/observation/SharedInstances.h"

#include <utility>

namespace vellumix {

namespace {
SharedInstances* installed = nullptr;
}

SharedInstances& SharedInstances::current() { return *installed; }
SharedInstances* SharedInstances::install(SharedInstances* instances) {
    return std::exchange(installed, instances);
}

}  // namespace vellumix
