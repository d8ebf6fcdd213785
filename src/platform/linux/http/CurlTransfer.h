#pragma once

#include <netinet/in.h>

#include <memory>
#include <optional>
#include <string>

#include "platform/desktop/URLSession.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/linux/http/CurlMulti.h"
#include "platform/linux/http/WebAddress.h"

namespace vellumix::linux_desktop {

/// One transfer by libcurl.
///
/// The library's callbacks fill a buffer of one piece and pause the transfer when it is full; the handlers
/// are called from turns of the loop of their own, behind what else is due, so that they may do anything.
class CurlTransfer final : public URLSessionTask {
public:
    /// `certificates` is a file of those to trust, or empty for the system's.
    CurlTransfer(GLibRunLoop& runLoop, std::shared_ptr<CurlMulti> multi, const CurlLibrary& curl,
                 NSURLRequest request, WebAddress address, NSURLSession::Handlers handlers,
                 const std::string& certificates);
    ~CurlTransfer() override;

    void suspend() override { isSuspended = true; }
    void resume() override;

private:
    template <class Value>
    void set(CURLoption option, Value value) {
        curl.easySetopt(easy.get(), option, value);
    }
    template <class Value>
    Value info(CURLINFO information) const {
        Value value{};
        curl.easyGetinfo(easy.get(), information, &value);
        return value;
    }
    void prepare(const std::string& certificates);
    void prepareMethod();
    bool prepareHeaders();
    void begin();
    static std::size_t onHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t onBody(char* bytes, std::size_t size, std::size_t count, void* self);
    static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    void takeHeader(std::string_view line);
    void endHead();
    void count(std::size_t bytes);
    void checkProgress();
    void done(CURLcode code);
    void follow();
    URLError errorOf(CURLcode code) const;
    void end(std::optional<URLError> error);
    void schedule();
    void deliver();

    GLibRunLoop& runLoop;
    const std::shared_ptr<CurlMulti> multi;
    const CurlLibrary& curl;
    const NSURLRequest request;
    WebAddress address;
    /// Shared with a call that is running, as the handler may destroy the task.
    const std::shared_ptr<const NSURLSession::Handlers> handlers;

    HTTPURLResponse response;
    std::size_t headSize = 0;
    bool isHeadWhole = false;
    bool isHeadTold = false;
    std::optional<std::string> redirection;
    int redirections = 0;
    std::uint64_t bodySize = 0;
    /// The next piece.
    Bytes piece;
    bool isPaused = false;
    bool isSuspended = false;
    bool isScheduled = false;
    /// What a callback refused the answer for; the library's own code then says no more than that.
    std::optional<URLError> refusal;
    bool hasEnded = false;
    std::optional<URLError> error;
    /// Since when too little has come for progress, and how much.
    double stretchBegin = 0;
    std::size_t stretchBytes = 0;
    std::unique_ptr<NSTimer> progressTimer;
    curl::List headers;
    curl::Easy easy;
    Lifetime lifetime;
};

}  // namespace vellumix::linux_desktop
