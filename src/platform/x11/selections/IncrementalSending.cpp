#include "platform/x11/selections/IncrementalSending.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace vellumix::x11 {

IncrementalSending::IncrementalSending(Connection& connection, const Destination& destination, Value value,
                                       double pieceSeconds, std::function<void(IncrementalSending*)> end)
    : connection(connection),
      destination_(destination),
      value(std::move(value)),
      pieceSeconds(pieceSeconds),
      end(std::move(end)) {}

std::unique_ptr<IncrementalSending> IncrementalSending::begin(Connection& connection,
                                                              const Destination& destination, Value value,
                                                              double pieceSeconds,
                                                              std::function<void(IncrementalSending*)> end) {
    std::unique_ptr<IncrementalSending> transfer(
        new IncrementalSending(connection, destination, std::move(value), pieceSeconds, std::move(end)));
    // Before the property is there, so that its deletion can't be missed.
    auto events = connection.observeForeign(
        destination.requestor, [raw = transfer.get()](const auto& event) { raw->handle(event); });
    if (!events) return nullptr;
    transfer->events = std::move(*events);
    const auto size = static_cast<std::uint32_t>(
        std::min<std::size_t>(transfer->value.bytes.view.size(), std::numeric_limits<std::int32_t>::max()));
    xcb_change_property(connection.xcb(), XCB_PROP_MODE_REPLACE, destination.requestor, destination.property,
                        connection.atoms().incr, 32, 1, &size);
    transfer->await();
    return transfer;
}

void IncrementalSending::handle(const xcb_generic_event_t& event) {
    switch (xcb::typeOf(event)) {
        case XCB_DESTROY_NOTIFY:
            return finish();
        case XCB_PROPERTY_NOTIFY: {
            const auto& change = xcb::as<xcb_property_notify_event_t>(event);
            if (change.atom == destination_.property && change.state == XCB_PROPERTY_DELETE) sendPieceLater();
            return;
        }
        default:
            return;
    }
}

void IncrementalSending::sendPieceLater() {
    if (std::exchange(isPieceDue, true)) return;
    deadline.reset();
    connection.clientWork().add(
        connection.clientOf(destination_.requestor),
        [this, alive = lifetime.watch()] { return alive.expired() ? 0 : sendPiece(); });
}

std::size_t IncrementalSending::sendPiece() {
    isPieceDue = false;
    const auto rest = value.bytes.view.subspan(offset);
    const auto piece = rest.first(std::min(rest.size(), connection.pieceBytes()));
    xcb_change_property(connection.xcb(), XCB_PROP_MODE_REPLACE, destination_.requestor,
                        destination_.property, value.type, value.format,
                        static_cast<std::uint32_t>(piece.size() * 8 / value.format), piece.data());
    offset += piece.size();
    // An empty piece is the end.
    piece.empty() ? finish() : await();
    return piece.size();
}

void IncrementalSending::await() {
    deadline = connection.runLoop().oneShotTimer(pieceSeconds, [this] { finish(); });
}

void IncrementalSending::finish() {
    deadline.reset();
    events.cancel();
    const auto end = std::exchange(this->end, nullptr);
    end(this);
}

}  // namespace vellumix::x11
