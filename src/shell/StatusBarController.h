#pragma once

#include <memory>
#include <vector>

#include "platform/desktop/StatusItem.h"
#include "platform/foundation/Lifetime.h"
#include "platform/foundation/Observation.h"

namespace vellumix {

class AppDelegate;

/// The program's icon in the desktop's panel, with its menu. Main thread only.
///
/// The texts follow the chosen language.
class StatusBarController {
public:
    /// `application` must outlive the controller.
    explicit StatusBarController(AppDelegate& application);

private:
    void showTexts();
    std::vector<StatusMenuEntry> menu();

    AppDelegate& _application;
    std::unique_ptr<NSStatusItem> _statusItem;
    Observation _languageChange;
    Lifetime _lifetime;
};

}  // namespace vellumix
