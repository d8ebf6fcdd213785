#pragma once

#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/coding/URL.h"
#include "platform/foundation/text/String.h"

namespace vellumix {

/// One thing to share. An image is the bytes of its PNG.
using SharedItem = std::variant<String, URL, Data>;

/// Hands things to other programs. Main thread only; waits for nobody, and a program that can't be started
/// leaves a line in the log.
class SharingServices {
public:
    enum class Service { open, sendByMail, saveCopy, copyPath };

    virtual ~SharingServices() = default;
    /// What can be done with these, in the order in which it is offered. Empty for no items.
    virtual std::vector<Service> servicesFor(const std::vector<SharedItem>& items) const = 0;
    virtual void perform(Service service, const std::vector<SharedItem>& items) = 0;
    /// Opens an address with the program that the desktop has for it. False where there is none.
    virtual bool openURL(const URL& url) = 0;
};

}  // namespace vellumix
