#pragma once

#include <functional>
#include <map>
#include <memory>

#include "platform/linux/http/CurlHandles.h"
#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::linux_desktop {

/// Drives libcurl's transfers by the main loop: it sleeps on their sockets and until the moments that the
/// library names. Main thread.
class CurlMulti {
public:
    /// Gets how the transfer ended, outside of the library's calls, once it is no longer under way.
    using OnDone = std::function<void(CURLcode result)>;

    /// Connections that have no transfer are closed after `longestRest` seconds.
    CurlMulti(GLibRunLoop& runLoop, const CurlLibrary& curl, double longestRest)
        : runLoop(runLoop), curl(curl), longestRest(longestRest) {}
    ~CurlMulti();

    void add(CURL* transfer, OnDone onDone);
    /// Ends it without a word. Harmless when it isn't under way.
    void remove(CURL* transfer);
    /// Lets a paused transfer go on. Its data callback may be called inside the call.
    void goOn(CURL* transfer);

private:
    static int onSocket(CURL* transfer, curl_socket_t socket, int what, void* self, void* data);
    static int onTimer(CURLM* multi, long milliseconds, void* self);
    void act(curl_socket_t socket);
    void rest();

    GLibRunLoop& runLoop;
    const CurlLibrary& curl;
    const double longestRest;
    std::map<curl_socket_t, Observation> sockets;
    std::unique_ptr<NSTimer> timer;
    /// Until the connections are let go.
    std::unique_ptr<NSTimer> resting;
    std::map<CURL*, OnDone> underWay;
    curl::Multi multi;
};

}  // namespace vellumix::linux_desktop
