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
    : connection(connection), request(request), limits(limits), completion(std::move(completion)) {
    events = connection.observe(request.requestor, [this](const auto& event) { handle(event); });
    xcb_convert_selection(connection.xcb(), request.requestor, request.selection, request.target,
                          connection.atoms().conversion, request.time);
    await(request.answerSeconds);
}

void Conversion::handle(const xcb_generic_event_t& event) {
    const auto& atoms = connection.atoms();
    switch (xcb::typeOf(event)) {
        case XCB_SELECTION_NOTIFY: {
            const auto& answer = xcb::as<xcb_selection_notify_event_t>(event);
            if (phase != Phase::awaitingAnswer || answer.selection != request.selection ||
                answer.target != request.target) {
                return;
            }
            if (answer.property != atoms.conversion) return end(Ending::refused);
            phase = Phase::readingWhole;
            return read();
        }
        case XCB_PROPERTY_NOTIFY: {
            const auto& change = xcb::as<xcb_property_notify_event_t>(event);
            if (phase != Phase::awaitingPiece || change.atom != atoms.conversion ||
                change.state != XCB_PROPERTY_NEW_VALUE) {
                return;
            }
            phase = Phase::readingPiece;
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
        connection.xcb(),
        xcb_get_property(connection.xcb(), 1, request.requestor, connection.atoms().conversion,
                         XCB_GET_PROPERTY_TYPE_ANY, static_cast<std::uint32_t>(offset / unitBytes),
                         static_cast<std::uint32_t>(std::min(readBytes, request.limit) / unitBytes + 1)));
    if (!reply) return end(Ending::refused);
    if (reply->type == XCB_ATOM_NONE) {
        // An announcement of a piece that an earlier read has taken already.
        if (phase == Phase::readingPiece && offset == 0) {
            phase = Phase::awaitingPiece;
            return;
        }
        return end(Ending::refused);
    }
    if (phase == Phase::readingWhole && offset == 0 && reply->type == connection.atoms().incr) {
        return begin(*reply);
    }

    const auto length = lengthOf(*reply);
    if (value.type == XCB_ATOM_NONE) {
        value.type = reply->type;
        value.format = reply->format;
    }
    if (value.bytes.size() + length + reply->bytes_after > request.limit) {
        return request.excess == Excess::drain ? drain(*reply) : end(Ending::tooLarge);
    }
    const auto size = value.bytes.size();
    const auto expected = phase == Phase::readingWhole ? reply->bytes_after : 0;
    if (!reserve(size + length + expected)) return end(Ending::noMemory);
    const std::span piece(static_cast<std::uint8_t*>(xcb_get_property_value(reply.get())), length);
    append(value.bytes, piece);
    // It may be locked one day, and the library gives its memory back as it is.
    wipe(piece);
    if (phase == Phase::readingPiece && offset == 0 && length == 0) return end(Ending::value);
    offset += length;
    if (reply->bytes_after == 0) return propertyIsRead();
    connection.runLoop().post(lifetime.weakly([this] {
        if (phase != Phase::ended) read();
    }));
}

/// In steps that double, so that a value of many pieces is copied seldom. False where there is no memory.
bool Conversion::reserve(std::size_t size) {
    auto& bytes = value.bytes;
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
    if (announced > request.limit && request.excess == Excess::abandon) return end(Ending::tooLarge);
    if (reply.bytes_after > 0) {
        xcb_delete_property(connection.xcb(), request.requestor, connection.atoms().conversion);
    }
    if (!reserve(std::min<std::size_t>(announced, request.limit))) return end(Ending::noMemory);
    phase = Phase::awaitingPiece;
    await(limits.pieceSeconds);
}

void Conversion::drain(const xcb_get_property_reply_t& reply) {
    isTooLarge = true;
    value.bytes.clear();
    if (reply.bytes_after > 0) {
        xcb_delete_property(connection.xcb(), request.requestor, connection.atoms().conversion);
    }
    propertyIsRead();
}

void Conversion::propertyIsRead() {
    if (phase == Phase::readingWhole) return end(Ending::value);
    offset = 0;
    phase = Phase::awaitingPiece;
    await(limits.pieceSeconds);
}

void Conversion::await(double seconds) {
    deadline = connection.runLoop().oneShotTimer(seconds, [this] { end(Ending::late); });
}

void Conversion::end(Ending ending) {
    if (phase == Phase::ended) return;
    if (isTooLarge && ending == Ending::value) ending = Ending::tooLarge;
    phase = Phase::ended;
    deadline.reset();
    events.cancel();
    if (ending != Ending::value) value.bytes = {};
    // An owner may announce much and send little.
    if (value.bytes.size() < value.bytes.capacity() / 2) value.bytes.shrink_to_fit();
    const auto completion = std::exchange(this->completion, nullptr);
    completion(ending, std::move(value));
}

}  // namespace vellumix::x11
