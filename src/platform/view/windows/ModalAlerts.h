#pragma once

#include <functional>

#include "platform/desktop/Alert.h"
#include "platform/view/values/ControlPalette.h"

namespace vellumix::view {

/// Shows each modal question in a window of its own, in the middle of the main screen. Where there is no
/// screen, or the loop is stopped meanwhile, the answer is that of the first button.
class ModalAlerts final : public Alerts {
public:
    /// The palette is asked for as a question comes up.
    explicit ModalAlerts(std::function<ControlPalette()> palette = [] { return ControlPalette(); })
        : palette(std::move(palette)) {}

    int runModal(const NSAlert& alert) override;

private:
    std::function<ControlPalette()> palette;
};

}  // namespace vellumix::view
