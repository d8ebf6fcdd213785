#pragma once

#include <optional>
#include <string>

#include "platform/desktop/CloudAccount.h"

namespace vellumix {

/// The program that runs already in this session, seen from another process. Each call blocks for at most 10
/// seconds; none starts the program.
class RunningInstance {
public:
    enum class Presence {
        running,
        notRunning,
        /// There is no way to ask.
        unknown,
    };
    enum class PanelRequest { toggle, show, hide };

    virtual ~RunningInstance() = default;

    /// As it was found when this was made.
    virtual Presence presence() const = 0;
    /// A JSON text; nothing when there is no instance or it doesn't answer.
    virtual std::optional<std::string> status() = 0;
    /// Asks it to quit and waits until it has gone. False when it is still there.
    virtual bool quit() = 0;
    /// Asks it to show or hide its panel. False when it doesn't answer.
    virtual bool ask(PanelRequest request) = 0;
    /// Tells it that this account, or none, is the person's from now on, and its password in the keychain.
    /// It puts it into the settings. False when it doesn't answer.
    virtual bool takeAccount(const std::optional<CloudAccount>& account) = 0;
};

}  // namespace vellumix
