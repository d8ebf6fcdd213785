#include "platform/linux/cloud/CouchRequests.h"

#include <utility>

namespace vellumix::linux_desktop {

namespace {

std::optional<NSURLRequest> requestTo(const CouchAccount& account, std::string_view path) {
    auto base = account.address.absoluteString();
    // A path can't be put behind a query.
    if (base.find_first_of("?#") != std::string_view::npos) return std::nullopt;
    while (base.ends_with('/')) base.remove_suffix(1);
    const auto url = URL::parse(std::string(base) + "/" + std::string(path));
    if (!url) return std::nullopt;
    NSURLRequest request{.url = *url, .headers = {{"Accept", "application/json, */*;q=0.1"}}};
    if (!account.credential.user.empty()) request.credential = account.credential;
    return request;
}

}  // namespace

std::optional<JsonValue> CouchAnswer::object() const {
    auto value = JsonValue::parse(asText(body));
    return value && std::holds_alternative<JsonValue::Object>(value->value) ? std::move(value) : std::nullopt;
}

bool CouchAnswer::isOfKnownUser() const {
    const auto session = object();
    const auto* const context = session ? (*session)["userCtx"] : nullptr;
    const auto* const name = context ? (*context)["name"] : nullptr;
    return status == 200 && name && std::holds_alternative<std::string>(name->value);
}

/// A coroutine that waits, and for what.
struct CouchRequests::Waiting {
    std::coroutine_handle<> coroutine;
    Asking* asking = nullptr;
    std::unique_ptr<URLSessionTask> task;

    Waiting(std::coroutine_handle<> coroutine, Asking* asking) : coroutine(coroutine), asking(asking) {}
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;
    ~Waiting() {
        task.reset();
        if (coroutine) coroutine.destroy();
    }
};

CouchRequests::CouchRequests(RunLoop& runLoop, NSURLSession& session) : runLoop(runLoop), session(session) {}
CouchRequests::~CouchRequests() = default;

CouchRequests::Asking CouchRequests::ask(const CouchAccount& account, std::string_view path,
                                         std::string method, const std::string& body) {
    auto request = requestTo(account, path);
    if (request) {
        request->HTTPMethod = std::move(method);
        if (!body.empty()) request->headers.emplace_back("Content-Type", "application/json");
        request->HTTPBody = Data(std::string_view(body));
    }
    return {*this, std::move(request), nullptr};
}

CouchRequests::Asking CouchRequests::stream(const CouchAccount& account, std::string_view path,
                                            std::uint64_t largest, Taker taker) {
    auto request = requestTo(account, path);
    if (request) request->largestBody = largest;
    return {*this, std::move(request), std::move(taker)};
}

CouchRequests::Turning CouchRequests::nextTurn() { return Turning(*this); }

void CouchRequests::start(std::coroutine_handle<> coroutine, Asking& asking) {
    const auto place = waiting.emplace(waiting.end(), coroutine, &asking);
    if (!asking.request) {
        runLoop.post(lifetime.weakly([this, place] { end(place, URLError::notAllowed); }));
        return;
    }
    auto& answer = asking.answer;
    place->task =
        session.start(*std::move(asking.request),
                      {.onResponse = [&answer](const auto& head) { answer.status = head.statusCode; },
                       .onData =
                           [this, place](ByteView piece) {
                               auto& asked = *place->asking;
                               if (!asked.taker) {
                                   append(asked.answer.body, piece);
                               } else if (asked.answer.status == 200 && !asked.taker(piece, *place->task)) {
                                   end(place, std::nullopt);
                               }
                           },
                       .onEnd = [this, place](auto error) { end(place, error); }});
}

void CouchRequests::end(Place place, std::optional<URLError> error) {
    place->asking->answer.error = error;
    const auto coroutine = std::exchange(place->coroutine, nullptr);
    waiting.erase(place);
    coroutine.resume();
}

void CouchRequests::Turning::await_suspend(std::coroutine_handle<> coroutine) {
    const auto place = requests.waiting.emplace(requests.waiting.end(), coroutine, nullptr);
    requests.runLoop.postBehind(requests.lifetime.weakly([&requests = requests, place] {
        const auto coroutine = std::exchange(place->coroutine, nullptr);
        requests.waiting.erase(place);
        coroutine.resume();
    }));
}

}  // namespace vellumix::linux_desktop
