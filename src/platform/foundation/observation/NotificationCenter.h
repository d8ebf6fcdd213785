#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "platform/foundation/observation/ObserverList.h"

namespace vellumix {

/// Named notifications with a dictionary of strings, delivered inside `post` on the posting thread. Main
/// thread.
class NotificationCenter {
public:
    using UserInfo = std::map<std::string, std::string>;
    using Observer = std::function<void(const UserInfo&)>;

    static NotificationCenter& defaultCenter();

    void post(std::string_view name, const UserInfo& userInfo = {});
    Observation observe(std::string_view name, Observer observer);

private:
    std::map<std::string, ObserverList<const UserInfo&>, std::less<>> observers;
};

}  // namespace vellumix
