#pragma once

#include "platform/desktop/UserNotifications.h"

namespace vellumix::linux_desktop {

/// Messages by the session bus (Desktop Notifications Specification 1.2, "Notify").
class DesktopNotifications final : public UserNotifications {
public:
    void show(const std::string& title, const std::string& body) override;
};

}  // namespace vellumix::linux_desktop
