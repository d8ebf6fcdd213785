#include "platform/view/windows/ModalAlerts.h"

#include <memory>
#include <optional>

#include "platform/desktop/Platform.h"
#include "platform/view/windows/AlertWindow.h"

namespace vellumix::view {

int ModalAlerts::runModal(const NSAlert& alert) {
    const auto screen = platform::current().windows->mainScreen();
    if (!screen) {
        Log("Alerts").error("There is no screen to ask on");
        return NSAlert::firstButtonReturn;
    }
    AlertDescription description{.title = alert.messageText, .message = alert.informativeText};
    for (const auto& title : alert.buttons) description.buttons.push_back({.title = title});
    std::optional<std::size_t> answer;
    const AlertWindow window(description, palette(), screen->visibleFrame, screen->visibleFrame,
                             Renderer::shared(),
                             [&](std::optional<std::size_t> button) { answer = button.value_or(0); });
    RunLoop::main().runUntil([&] { return answer.has_value(); });
    return NSAlert::firstButtonReturn + static_cast<int>(answer.value_or(0));
}

}  // namespace vellumix::view
