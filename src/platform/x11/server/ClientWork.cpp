#include "platform/x11/server/ClientWork.h"

#include <utility>

namespace vellumix::x11 {

namespace {

/// Of one turn. A step may wait for the server once, and sends at most a mebibyte: a turn then takes about a
/// millisecond.
constexpr int stepsATurn = 8;
constexpr std::size_t bytesATurn = std::size_t{1} << 20;

}  // namespace

void ClientWork::add(Client client, Step step) {
    waiting.add(client, std::move(step));
    goOnLater();
}

void ClientWork::goOnLater() {
    if (waiting.empty() || std::exchange(isTurnDue, true)) return;
    runLoop.postBehind(lifetime.weakly([this] { takeTurn(); }));
}

void ClientWork::takeTurn() {
    isTurnDue = false;
    std::size_t bytes = 0;
    for (int steps = 0; steps < stepsATurn && bytes < bytesATurn && !waiting.empty(); ++steps) {
        bytes += waiting.take()();
    }
    goOnLater();
}

}  // namespace vellumix::x11
