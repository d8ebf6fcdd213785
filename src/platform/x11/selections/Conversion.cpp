#include "platform/x11/selections/Conversion.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "platform/foundation/cipher/AESGCM.h"

namespace vellumix::x11 {

namespace {

/// What one read takes: large enough that trips to the server don't count, small enough that the loop serves
/// a key press in between.
constexpr std::size_t readBytes = std::size_t{1} << 20;
constexpr std::size_t unitBytes = 4;

std::size_t lengthOf(const xcb_get_property_reply_t& reply) {
    return static_cast<std::size_t>(xcb_get_property_value_length(&reply));
}

}  // namespace

Conversion::Conversion(Connection& connection, const Request& request, const TransferLimits& limits,
                       Completion completion)
    : _connection(connection), _request(request), _limits(limits), _completion(std::move(completion)) {
    _events = connection.observe(request.requestor, [this](const auto& event) { handle(event); });
    xcb_convert_selection(connection.xcb(), request.requestor, request.selection, request.target,
                          connection.atoms().conversion, request.time);
    await(request.answerSeconds);
}

void Conversion::handle(const xcb_generic_event_t& event) {
    const auto& atoms = _connection.atoms();
    switch (xcb::typeOf(event)) {
        case XCB_SELECTION_NOTIFY: {
            const auto& answer = xcb::as<xcb_selection_notify_event_t>(event);
            if (_phase != Phase::awaitingAnswer || answer.selection != _request.selection ||
                answer.target != _request.target) {
                return;
            }
            if (answer.property != atoms.conversion) return end(Ending::refused);
            _phase = Phase::readingWhole;
            return read();
        }
        case XCB_PROPERTY_NOTIFY: {
            const auto& change = xcb::as<xcb_property_notify_event_t>(event);
            if (_phase != Phase::awaitingPiece || change.atom != atoms.conversion ||
                change.state != XCB_PROPERTY_NEW_VALUE) {
                return;
            }
            _phase = Phase::readingPiece;
            return read();
        }
        default:
            return;
    }
}

void Conversion::read() {
    // The server deletes the property with the read that reaches its end; for an incremental value that is
    // the call for the next piece.
    const auto reply = xcb::await<xcb_get_property_reply>(
        _connection.xcb(),
        xcb_get_property(_connection.xcb(), 1, _request.requestor, _connection.atoms().conversion,
                         XCB_GET_PROPERTY_TYPE_ANY, static_cast<std::uint32_t>(_offset / unitBytes),
                         static_cast<std::uint32_t>(std::min(readBytes, _request.limit) / unitBytes + 1)));
    if (!reply) return end(Ending::refused);
    if (reply->type == XCB_ATOM_NONE) {
        // An announcement of a piece that an earlier read has taken already.
        if (_phase == Phase::readingPiece && _offset == 0) {
            _phase = Phase::awaitingPiece;
            return;
        }
        return end(Ending::refused);
    }
    if (_phase == Phase::readingWhole && _offset == 0 && reply->type == _connection.atoms().incr) {
        return begin(*reply);
    }

    const auto length = lengthOf(*reply);
    if (_value.type == XCB_ATOM_NONE) {
        _value.type = reply->type;
        _value.format = reply->format;
    }
    if (_value.bytes.size() + length + reply->bytes_after > _request.limit) {
        return _request.excess == Excess::drain ? drain(*reply) : end(Ending::tooLarge);
    }
    const auto size = _value.bytes.size();
    const auto expected = _phase == Phase::readingWhole ? reply->bytes_after : 0;
    if (!reserve(size + length + expected)) return end(Ending::noMemory);
    const std::span piece(static_cast<std::uint8_t*>(xcb_get_property_value(reply.get())), length);
    append(_value.bytes, piece);
    // It may be locked one day, and the library gives its memory back as it is.
    wipe(piece);
    if (_phase == Phase::readingPiece && _offset == 0 && length == 0) return end(Ending::value);
    _offset += length;
    if (reply->bytes_after == 0) return propertyIsRead();
    _connection.runLoop().post(_lifetime.weakly([this] {
        if (_phase != Phase::ended) read();
    }));
}

/// In steps that double, so that a value of many pieces is copied seldom. False where there is no memory.
bool Conversion::reserve(std::size_t size) {
    auto& bytes = _value.bytes;
    if (size <= bytes.capacity()) return true;
    try {
        bytes.reserve(std::max(size, 2 * bytes.capacity()));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void Conversion::begin(const xcb_get_property_reply_t& reply) {
    // The value is a lower bound of what will come (ICCCM 2.0 section 2.7.2).
    std::uint32_t announced = 0;
    if (lengthOf(reply) >= sizeof announced) {
        std::memcpy(&announced, xcb_get_property_value(&reply), sizeof announced);
    }
    if (announced > _request.limit && _request.excess == Excess::abandon) return end(Ending::tooLarge);
    if (reply.bytes_after > 0) {
        xcb_delete_property(_connection.xcb(), _request.requestor, _connection.atoms().conversion);
    }
    if (!reserve(std::min<std::size_t>(announced, _request.limit))) return end(Ending::noMemory);
    _phase = Phase::awaitingPiece;
    await(_limits.pieceSeconds);
}

void Conversion::drain(const xcb_get_property_reply_t& reply) {
    _isTooLarge = true;
    _value.bytes.clear();
    if (reply.bytes_after > 0) {
        xcb_delete_property(_connection.xcb(), _request.requestor, _connection.atoms().conversion);
    }
    propertyIsRead();
}

void Conversion::propertyIsRead() {
    if (_phase == Phase::readingWhole) return end(Ending::value);
    _offset = 0;
    _phase = Phase::awaitingPiece;
    await(_limits.pieceSeconds);
}

void Conversion::await(double seconds) {
    _deadline = _connection.runLoop().oneShotTimer(seconds, [this] { end(Ending::late); });
}

void Conversion::end(Ending ending) {
    if (_phase == Phase::ended) return;
    if (_isTooLarge && ending == Ending::value) ending = Ending::tooLarge;
    _phase = Phase::ended;
    _deadline.reset();
    _events.cancel();
    if (ending != Ending::value) _value.bytes = {};
    // An owner may announce much and send little.
    if (_value.bytes.size() < _value.bytes.capacity() / 2) _value.bytes.shrink_to_fit();
    const auto completion = std::exchange(_completion, nullptr);
    completion(ending, std::move(_value));
}

}  // namespace vellumix::x11
