#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/cipher/SecretText.h"
#include "platform/foundation/coding/URL.h"

namespace vellumix {

/// Why a transfer brought no answer, or not the whole of it.
enum class URLError {
    /// The address has no such scheme, or plain HTTP would leave this machine.
    notAllowed,
    cannotFindHost,
    cannotConnectToHost,
    /// No TLS could be agreed on.
    secureConnectionFailed,
    certificateUntrusted,
    certificateExpired,
    certificateForOtherHost,
    /// To another scheme, host or port, or one too many.
    redirectRefused,
    timedOut,
    /// The other side hung up, or the answer isn't HTTP or shorter than it said.
    connectionLost,
    /// The answer is larger than the request allows.
    dataLengthExceedsMaximum,
    /// The system lacks what transfers are made with.
    unavailable,
};

/// By which a person is known to a server (RFC 7617).
struct URLCredential {
    std::string user;
    /// Never absent.
    std::shared_ptr<const SecretText> password;
};

/// One request over HTTP (RFC 9110).
struct NSURLRequest {
    URL url;
    std::string HTTPMethod = "GET";
    std::vector<std::pair<std::string, std::string>> headers;
    Data HTTPBody;
    /// Sent from the start, to the address's own host alone.
    std::optional<URLCredential> credential;
    /// Seconds for the connection to stand, TLS included.
    double connectTimeout = 15;
    /// Seconds within which at least 16 KB of the answer, or its end, must come.
    double timeoutInterval = 60;
    /// Bytes of the answer's body, as they are after decoding.
    std::uint64_t largestBody = std::uint64_t{1} << 20;
};

/// The head of an answer.
struct HTTPURLResponse {
    int statusCode = 0;
    /// In the order in which they came, names in lower case.
    std::vector<std::pair<std::string, std::string>> headers;

    /// The first with the name, which is in lower case.
    std::optional<std::string_view> value(std::string_view name) const {
        for (const auto& [each, value] : headers) {
            if (each == name) return value;
        }
        return std::nullopt;
    }
};

/// A transfer. Destroying it ends it, and none of its handlers is called any more.
class URLSessionTask {
public:
    virtual ~URLSessionTask() = default;
    /// No more of the answer is told until `resume`, little of it is taken, and the time-outs stand still.
    virtual void suspend() = 0;
    virtual void resume() = 0;
};

/// Transfers over HTTP and TLS, with the certificates that the system trusts. Main thread; waits for nobody.
///
/// Plain HTTP goes to loopback addresses alone, and a few redirects are followed, where scheme, host and port
/// stay the same. Nothing is kept between transfers: no cookie, no cache. Until the first transfer the
/// service costs nothing.
class NSURLSession {
public:
    struct Handlers {
        /// Once, before the body. May be empty.
        std::function<void(const HTTPURLResponse& response)> onResponse;
        /// For each piece of the body, of at most 64 KB and not more than one a turn of the loop. May be
        /// empty; may suspend or destroy the task.
        std::function<void(ByteView piece)> onData;
        /// Once, at the end, with nothing where the answer came whole, whatever its status. May destroy the
        /// task.
        std::function<void(std::optional<URLError> error)> onEnd;
    };

    virtual ~NSURLSession() = default;
    /// Never calls a handler inside the call.
    virtual std::unique_ptr<URLSessionTask> start(NSURLRequest request, Handlers handlers) = 0;
};

}  // namespace vellumix
