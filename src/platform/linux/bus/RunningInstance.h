#pragma once

#include <memory>
#include <optional>
#include <string>

namespace vellumix::linux_desktop {

/// The instance that runs in this session, seen from another process. Each call blocks for at most 10 seconds
/// and needs no main loop; none starts the program.
class RunningInstance {
public:
    enum class Presence {
        running,
        notRunning,
        /// There is no session bus, or none that answers within 5 seconds.
        noBus,
    };

    /// Looks once; `presence` tells what was found.
    RunningInstance();
    ~RunningInstance();

    Presence presence() const;

    /// A JSON text; nothing when there is no instance or it doesn't answer.
    std::optional<std::string> status();
    /// Asks it to quit and waits until it has given up its name. False when it is still there.
    bool quit();
    enum class PanelRequest { toggle, show, hide };
    /// Asks it to show or hide its panel. False when it doesn't answer.
    bool ask(PanelRequest request);

private:
    struct State;
    std::unique_ptr<State> _state;
};

}  // namespace vellumix::linux_desktop
