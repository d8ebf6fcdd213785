#include "platform/linux/http/CurlMulti.h"

#include <utility>

namespace vellumix::linux_desktop {

CurlMulti::~CurlMulti() {
    for (const auto& [transfer, onDone] : underWay) curl.multiRemoveHandle(multi.get(), transfer);
}

void CurlMulti::add(CURL* transfer, OnDone onDone) {
    resting.reset();
    if (!multi) {
        multi.reset(curl.multiInit());
        curl.multiSetopt(multi.get(), CURLMOPT_SOCKETFUNCTION, onSocket);
        curl.multiSetopt(multi.get(), CURLMOPT_SOCKETDATA, this);
        curl.multiSetopt(multi.get(), CURLMOPT_TIMERFUNCTION, onTimer);
        curl.multiSetopt(multi.get(), CURLMOPT_TIMERDATA, this);
    }
    underWay[transfer] = std::move(onDone);
    curl.multiAddHandle(multi.get(), transfer);
}

void CurlMulti::remove(CURL* transfer) {
    if (underWay.erase(transfer) == 0) return;
    curl.multiRemoveHandle(multi.get(), transfer);
    rest();
}

void CurlMulti::goOn(CURL* transfer) {
    const auto result = curl.easyPause(transfer, CURLPAUSE_CONT);
    const auto found = underWay.find(transfer);
    if (result == CURLE_OK || found == underWay.end()) return;
    const auto onDone = std::move(found->second);
    remove(transfer);
    onDone(result);
}

int CurlMulti::onSocket(CURL*, curl_socket_t socket, int what, void* self, void*) {
    auto& multi = *static_cast<CurlMulti*>(self);
    multi.sockets.erase(socket);
    if (what == CURL_POLL_REMOVE) return 0;
    const auto readiness = what == CURL_POLL_IN    ? GLibRunLoop::Readiness::toRead
                           : what == CURL_POLL_OUT ? GLibRunLoop::Readiness::toWrite
                                                   : GLibRunLoop::Readiness::toReadOrWrite;
    multi.sockets[socket] = multi.runLoop.watch(
        socket, [] { return false; }, [&multi, socket] { multi.act(socket); }, readiness);
    return 0;
}

int CurlMulti::onTimer(CURLM*, long milliseconds, void* self) {
    auto& multi = *static_cast<CurlMulti*>(self);
    multi.timer.reset();
    if (milliseconds < 0) return 0;
    multi.timer = multi.runLoop.oneShotTimer(static_cast<double>(milliseconds) / 1000,
                                             [&multi] { multi.act(CURL_SOCKET_TIMEOUT); });
    return 0;
}

void CurlMulti::act(curl_socket_t socket) {
    int running = 0;
    // Without a mask the library looks by itself what the socket is ready for.
    curl.multiSocketAction(multi.get(), socket, 0, &running);
    int left = 0;
    while (const CURLMsg* const message = multi ? curl.multiInfoRead(multi.get(), &left) : nullptr) {
        if (message->msg != CURLMSG_DONE) continue;
        const auto transfer = message->easy_handle;
        const auto result = message->data.result;
        const auto found = underWay.find(transfer);
        if (found == underWay.end()) continue;
        const auto onDone = std::move(found->second);
        remove(transfer);
        onDone(result);
    }
}

void CurlMulti::rest() {
    if (!underWay.empty()) return;
    resting = runLoop.oneShotTimer(longestRest, [this] {
        multi.reset();
        sockets.clear();
        timer.reset();
    });
}

}  // namespace vellumix::linux_desktop
