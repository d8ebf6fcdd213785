#pragma once

#include <memory>
#include <string>

#include "platform/desktop/Bundle.h"
#include "platform/desktop/Updater.h"

namespace vellumix {

/// Keeps the updater still unless the build has a key and a feed for it. Main thread only.
class UpdateCoordinator {
public:
    /// Starts nothing.
    UpdateCoordinator();

    /// Asked of the main bundle anew each time: a `SUPublicEDKey` that isn't the placeholder of a template,
    /// and a `SUFeedURL`.
    bool isConfigured() const;
    /// Each does nothing while not configured.
    void start();
    void checkForUpdates();

    const std::unique_ptr<SPUStandardUpdaterController> standardController;
};

/// "1.0 (1)": the version and the number of the build, which are these where the bundle has none.
std::string appVersionText(const NSBundle& bundle);

}  // namespace vellumix
