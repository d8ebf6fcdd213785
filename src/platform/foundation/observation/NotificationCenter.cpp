#include "platform/foundation/observation/NotificationCenter.h"

#include "platform/foundation/observation/SharedInstances.h"
#include "platform/foundation/promises/Describing.h"
#include "platform/foundation/promises/MainThread.h"

namespace vellumix {

NotificationCenter& NotificationCenter::defaultCenter() {
    return SharedInstances::current().get<NotificationCenter>();
}

void NotificationCenter::post(std::string_view name, const UserInfo& userInfo) {
    assertMainThread();
    assertNotDescribing("a notification was posted");
    const auto found = observers.find(name);
    if (found != observers.end()) found->second.notify(userInfo);
}

Observation NotificationCenter::observe(std::string_view name, Observer observer) {
    assertMainThread();
    return observers.try_emplace(std::string(name)).first->second.add(std::move(observer));
}

}  // namespace vellumix
