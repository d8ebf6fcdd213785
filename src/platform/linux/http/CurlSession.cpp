#include "platform/linux/http/CurlSession.h"

#include <utility>

#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/promises/MainThread.h"
#include "platform/linux/http/CurlTransfer.h"

namespace vellumix::linux_desktop {

namespace {

/// A transfer that never begins.
class RefusedTransfer final : public URLSessionTask {
public:
    RefusedTransfer(GLibRunLoop& runLoop, NSURLSession::Handlers handlers, URLError error)
        : runLoop(runLoop), onEnd(std::move(handlers.onEnd)), error(error) {
        schedule();
    }
    void suspend() override { isSuspended = true; }
    void resume() override {
        if (std::exchange(isSuspended, false)) schedule();
    }

private:
    void schedule() {
        runLoop.post(lifetime.weakly([this] {
            if (isSuspended) return;
            if (const auto told = std::exchange(onEnd, nullptr)) told(error);
        }));
    }

    GLibRunLoop& runLoop;
    std::function<void(std::optional<URLError>)> onEnd;
    const URLError error;
    bool isSuspended = false;
    Lifetime lifetime;
};

}  // namespace

std::unique_ptr<URLSessionTask> CurlSession::start(NSURLRequest request, Handlers handlers) {
    assertMainThread();
    const auto refuse = [&](URLError error) {
        return std::make_unique<RefusedTransfer>(runLoop, std::move(handlers), error);
    };
    auto address = WebAddress::parse(request.url.absoluteString());
    if (!address) return refuse(URLError::notAllowed);
    // Before the library is asked, so that no packet leaves and nothing is loaded.
    if (address->isReserved()) return refuse(URLError::cannotFindHost);
    const auto* const curl = CurlLibrary::loaded();
    if (!curl) return refuse(URLError::unavailable);
    if (!multi) multi = std::make_shared<CurlMulti>(runLoop, *curl, options.longestRest);
    return std::make_unique<CurlTransfer>(runLoop, multi, *curl, std::move(request), *std::move(address),
                                          std::move(handlers), options.certificates);
}

}  // namespace vellumix::linux_desktop
