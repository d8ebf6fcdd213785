#pragma once

#include <functional>
#include <vector>

#include "platform/desktop/URLSession.h"
#include "platform/foundation/loop/RunLoop.h"

namespace vellumix::headless {

/// A network in memory that answers as a test says. Keeps what was asked.
class URLSession final : public NSURLSession {
public:
    struct Answer {
        HTTPURLResponse response{.statusCode = 200};
        Data body;
        /// What ends the transfer behind the body.
        std::optional<URLError> error;
        /// Until the head comes; below 0 it never does.
        double afterSeconds = 0;
    };

    explicit URLSession(RunLoop& runLoop) : runLoop(runLoop) {}

    std::unique_ptr<URLSessionTask> start(NSURLRequest request, Handlers handlers) override;

    /// Without it, no host can be found.
    std::function<Answer(const NSURLRequest& request)> answer;
    std::vector<NSURLRequest> requests;
    /// Transfers that have neither ended nor been given up.
    int underWay = 0;

private:
    RunLoop& runLoop;
};

}  // namespace vellumix::headless
