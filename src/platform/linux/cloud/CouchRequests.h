#pragma once

#include <coroutine>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/coding/Json.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/linux/cloud/CloudFailure.h"
#include "platform/linux/cloud/CouchAccount.h"

namespace vellumix::linux_desktop {

/// What a request brought.
struct CouchAnswer {
    std::optional<URLError> error;
    int status = 0;
    Bytes body;

    /// The answer as an object of JSON; nothing for any other.
    std::optional<JsonValue> object() const;
    /// Of an answer to "_session": the server knows who asks. (A database answers 401 both to a wrong
    /// password and to a right one that isn't enough.)
    bool isOfKnownUser() const;
};

/// The requests to a server that speaks the CouchDB protocol, for coroutines that run on the main loop: they
/// wait for their end without a thread. A coroutine that still waits when this goes is destroyed where it
/// waits.
class CouchRequests {
public:
    CouchRequests(RunLoop& runLoop, NSURLSession& session);
    ~CouchRequests();

    /// Gets the pieces of a body whose status is 200, and may suspend the task. False when it has enough: the
    /// transfer then ends as if the body did.
    using Taker = std::function<bool(ByteView piece, URLSessionTask& task)>;

    class Asking;
    /// The whole answer, of at most 1 MiB. `path` is relative to the account's address; `body` is JSON.
    Asking ask(const CouchAccount& account, std::string_view path, std::string method = "GET",
               const std::string& body = {});
    /// The body of at most `largest` bytes goes to `taker`.
    Asking stream(const CouchAccount& account, std::string_view path, std::uint64_t largest, Taker taker);
    class Turning;
    /// Goes on when other work that is due has had its turn.
    Turning nextTurn();

private:
    struct Waiting;
    using Place = std::list<Waiting>::iterator;
    void start(std::coroutine_handle<> coroutine, Asking& asking);
    void end(Place place, std::optional<URLError> error);

    RunLoop& runLoop;
    NSURLSession& session;
    std::list<Waiting> waiting;
    Lifetime lifetime;
};

class CouchRequests::Asking {
public:
    Asking(CouchRequests& requests, std::optional<NSURLRequest> request, Taker taker)
        : requests(requests), request(std::move(request)), taker(std::move(taker)) {}
    bool await_ready() const { return false; }
    void await_suspend(std::coroutine_handle<> coroutine) { requests.start(coroutine, *this); }
    CouchAnswer await_resume() { return std::move(answer); }

private:
    friend class CouchRequests;
    CouchRequests& requests;
    std::optional<NSURLRequest> request;
    Taker taker;
    CouchAnswer answer;
};

class CouchRequests::Turning {
public:
    explicit Turning(CouchRequests& requests) : requests(requests) {}
    bool await_ready() const { return false; }
    void await_suspend(std::coroutine_handle<> coroutine);
    void await_resume() const {}

private:
    CouchRequests& requests;
};

}  // namespace vellumix::linux_desktop
