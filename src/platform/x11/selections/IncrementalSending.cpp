#include "platform/x11/selections/IncrementalSending.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace vellumix::x11 {

IncrementalSending::IncrementalSending(Connection& connection, const Destination& destination, Value value,
                                       double pieceSeconds, std::function<void(IncrementalSending*)> end)
    : _connection(connection),
      _destination(destination),
      _value(std::move(value)),
      _pieceSeconds(pieceSeconds),
      _end(std::move(end)) {}

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
    transfer->_events = std::move(*events);
    const auto size = static_cast<std::uint32_t>(
        std::min<std::size_t>(transfer->_value.bytes.view.size(), std::numeric_limits<std::int32_t>::max()));
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
            if (change.atom == _destination.property && change.state == XCB_PROPERTY_DELETE) sendPieceLater();
            return;
        }
        default:
            return;
    }
}

void IncrementalSending::sendPieceLater() {
    if (std::exchange(_isPieceDue, true)) return;
    _deadline.reset();
    _connection.clientWork().add(
        _connection.clientOf(_destination.requestor),
        [this, alive = _lifetime.watch()] { return alive.expired() ? 0 : sendPiece(); });
}

std::size_t IncrementalSending::sendPiece() {
    _isPieceDue = false;
    const auto rest = _value.bytes.view.subspan(_offset);
    const auto piece = rest.first(std::min(rest.size(), _connection.pieceBytes()));
    xcb_change_property(_connection.xcb(), XCB_PROP_MODE_REPLACE, _destination.requestor,
                        _destination.property, _value.type, _value.format,
                        static_cast<std::uint32_t>(piece.size() * 8 / _value.format), piece.data());
    _offset += piece.size();
    // An empty piece is the end.
    piece.empty() ? finish() : await();
    return piece.size();
}

void IncrementalSending::await() {
    _deadline = _connection.runLoop().oneShotTimer(_pieceSeconds, [this] { finish(); });
}

void IncrementalSending::finish() {
    _deadline.reset();
    _events.cancel();
    const auto end = std::exchange(_end, nullptr);
    end(this);
}

}  // namespace vellumix::x11
