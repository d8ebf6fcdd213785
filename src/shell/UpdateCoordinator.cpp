#include "shell/UpdateCoordinator.h"

#include "platform/desktop/Platform.h"

namespace vellumix {

UpdateCoordinator::UpdateCoordinator()
    : standardController(platform::current().updates->initWithStartingUpdater(false)) {}

bool UpdateCoordinator::isConfigured() const {
    const auto& bundle = platform::current().mainBundle;
    const auto key = bundle.string("SUPublicEDKey");
    if (!key || key->empty() || key->starts_with("REPLACE")) return false;
    const auto feed = bundle.string("SUFeedURL");
    return feed && URL::parse(*feed);
}

void UpdateCoordinator::start() {
    // A key or feed of no use is a fault of the build that nobody at the machine can mend.
    if (isConfigured()) standardController->updater().startUpdater();
}

void UpdateCoordinator::checkForUpdates() {
    if (isConfigured()) standardController->checkForUpdates();
}

std::string appVersionText(const NSBundle& bundle) {
    return bundle.string("CFBundleShortVersionString").value_or("1.0") + " (" +
           bundle.string("CFBundleVersion").value_or("1") + ')';
}

}  // namespace vellumix
