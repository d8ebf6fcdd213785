#pragma once

#include <string>

namespace vellumix {

/// Messages that the desktop shows above what the user is at. Main thread.
class UserNotifications {
public:
    virtual ~UserNotifications() = default;
    /// Returns at once; where nobody shows messages, this one is lost.
    virtual void show(const std::string& title, const std::string& body) = 0;
};

}  // namespace vellumix
