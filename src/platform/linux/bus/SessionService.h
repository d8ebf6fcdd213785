#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/desktop/CloudAccount.h"
#include "platform/foundation/loop/RunLoop.h"

namespace vellumix::linux_desktop {

/// The process as the one instance of the session: owner of the name com.tarnwick.Vellumix on the session
/// bus, with the object that answers the calls of `RunningInstance`. Main thread.
///
/// Losing the bus later ends the service and nothing else. Destroy it last, after the data folder's lock has
/// gone: who waits for the end of this process waits for the name.
class SessionService {
public:
    enum class Outcome {
        owner,
        /// Another process owns the name.
        otherOwns,
        /// There is no session bus, or none that answers within 5 seconds.
        noBus,
    };
    struct Claim {
        Outcome outcome = Outcome::noBus;
        /// Present with `owner` alone.
        std::unique_ptr<SessionService> service;
    };
    /// Called from the main loop, each after the reply to its call has been given or with what the reply is
    /// made of.
    struct Handlers {
        /// A JSON text (RFC 8259); never content.
        std::function<std::string()> status;
        Work quit;
        Work toggle;
        Work show;
        Work hide;
        /// The person's account is another one, or none any more.
        std::function<void(const std::optional<CloudAccount>& account)> takeAccount;
    };

    /// Tries to own the name, without waiting for its owner to go. The loop must outlive the service.
    static Claim claim(RunLoop& runLoop);
    ~SessionService();

    /// Calls that come before this are refused.
    void setHandlers(Handlers handlers);

private:
    struct State;
    explicit SessionService(std::unique_ptr<State> state);
    std::unique_ptr<State> state;
};

}  // namespace vellumix::linux_desktop
