#include "platform/headless/URLSession.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/promises/MainThread.h"

namespace vellumix::headless {

namespace {

constexpr std::size_t pieceSize = std::size_t{64} << 10;

class ScriptedTask final : public URLSessionTask {
public:
    ScriptedTask(RunLoop& runLoop, int& underWay, URLSession::Answer answer, NSURLSession::Handlers handlers,
                 std::uint64_t largestBody)
        : runLoop(runLoop),
          underWay(underWay),
          answer(std::move(answer)),
          handlers(std::move(handlers)),
          largestBody(largestBody) {
        ++underWay;
        if (this->answer.afterSeconds < 0) return;
        runLoop.postAfter(this->answer.afterSeconds, lifetime.weakly([this] { begin(); }));
    }
    ~ScriptedTask() override { --underWay; }

    void suspend() override { isSuspended = true; }
    void resume() override {
        if (!std::exchange(isSuspended, false) || !hasBegun) return;
        next();
    }

private:
    void begin() {
        hasBegun = true;
        if (answer.response.statusCode != 0 && handlers.onResponse) {
            const auto watch = lifetime.watch();
            handlers.onResponse(answer.response);
            if (watch.expired()) return;
        }
        if (!isSuspended) next();
    }
    void next() {
        runLoop.post(lifetime.weakly([this] { goOn(); }));
    }
    void goOn() {
        if (isSuspended) return;
        const auto rest = answer.body.view().subspan(sent);
        if (rest.empty()) return handlers.onEnd(answer.error);
        if (sent + rest.size() > largestBody) return handlers.onEnd(URLError::dataLengthExceedsMaximum);
        const auto piece = rest.first(std::min(rest.size(), pieceSize));
        sent += piece.size();
        const auto watch = lifetime.watch();
        if (handlers.onData) handlers.onData(piece);
        if (!watch.expired() && !isSuspended) next();
    }

    RunLoop& runLoop;
    int& underWay;
    const URLSession::Answer answer;
    const NSURLSession::Handlers handlers;
    const std::uint64_t largestBody;
    std::size_t sent = 0;
    bool hasBegun = false;
    bool isSuspended = false;
    Lifetime lifetime;
};

}  // namespace

std::unique_ptr<URLSessionTask> URLSession::start(NSURLRequest request, Handlers handlers) {
    assertMainThread();
    auto answered =
        answer ? answer(request) : Answer{.response = {}, .body = {}, .error = URLError::cannotFindHost};
    const auto largestBody = request.largestBody;
    requests.push_back(std::move(request));
    return std::make_unique<ScriptedTask>(runLoop, underWay, std::move(answered), std::move(handlers),
                                          largestBody);
}

}  // namespace vellumix::headless
