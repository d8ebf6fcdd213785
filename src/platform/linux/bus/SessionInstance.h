#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/desktop/RunningInstance.h"

namespace vellumix::linux_desktop {

/// The instance that owns the program's name on the session bus. It is unknown whether there is one where
/// there is no bus, or none that answers within 5 seconds. Needs no main loop.
class SessionInstance final : public RunningInstance {
public:
    /// Looks once.
    SessionInstance();
    ~SessionInstance() override;

    Presence presence() const override;
    std::optional<std::string> status() override;
    bool quit() override;
    bool ask(PanelRequest request) override;
    bool takeAccount(const std::optional<CloudAccount>& account) override;

private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace vellumix::linux_desktop
