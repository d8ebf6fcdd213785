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
    _waiting.add(client, std::move(step));
    goOnLater();
}

void ClientWork::goOnLater() {
    if (_waiting.empty() || std::exchange(_isTurnDue, true)) return;
    _runLoop.postBehind(_lifetime.weakly([this] { takeTurn(); }));
}

void ClientWork::takeTurn() {
    _isTurnDue = false;
    std::size_t bytes = 0;
    for (int steps = 0; steps < stepsATurn && bytes < bytesATurn && !_waiting.empty(); ++steps) {
        bytes += _waiting.take()();
    }
    goOnLater();
}

}  // namespace vellumix::x11
