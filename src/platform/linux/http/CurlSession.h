#pragma once

#include <memory>
#include <string>

#include "platform/desktop/URLSession.h"
#include "platform/linux/http/CurlMulti.h"

namespace vellumix::linux_desktop {

/// Transfers by libcurl, which is loaded at the first one. Connections that nobody has used for a while are
/// closed. The process must ignore SIGPIPE.
class CurlSession final : public NSURLSession {
public:
    struct Options {
        /// A file of the certificates to trust instead of the system's.
        std::string certificates;
        /// Seconds that connections are kept for the next transfer: longer than the minute between two looks
        /// for changes, so that each of these costs one exchange and no new greeting.
        double longestRest = 90;
    };
    explicit CurlSession(GLibRunLoop& runLoop) : CurlSession(runLoop, Options()) {}
    CurlSession(GLibRunLoop& runLoop, Options options) : runLoop(runLoop), options(std::move(options)) {}

    std::unique_ptr<URLSessionTask> start(NSURLRequest request, Handlers handlers) override;

private:
    GLibRunLoop& runLoop;
    const Options options;
    /// Shared with the transfers, which may outlive the session.
    std::shared_ptr<CurlMulti> multi;
};

}  // namespace vellumix::linux_desktop
