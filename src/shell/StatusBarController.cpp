#include "shell/StatusBarController.h"

#include "platform/desktop/Platform.h"
#include "platform/foundation/LocalizedText.h"
#include "shell/AppDelegate.h"

namespace vellumix {

StatusBarController::StatusBarController(AppDelegate& application)
    : _application(application), _statusItem(platform::current().statusBar.makeStatusItem()) {
    showTexts();
    _languageChange = application.languageManager().currentLanguage.observe([this] { showTexts(); });
}

void StatusBarController::showTexts() {
    _statusItem->setImage("scissors", localized("app.name"));
    _statusItem->setMenu(menu());
}

std::vector<StatusMenuEntry> StatusBarController::menu() {
    return {
        {.title = localized("app.name"), .isEnabled = false},
        StatusMenuEntry::separator(),
        {.title = localized("quit"), .action = _lifetime.weakly([this] { _application.terminate(); })},
    };
}

}  // namespace vellumix
