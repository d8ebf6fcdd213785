#pragma once

#include <functional>
#include <memory>

#include "platform/x11/selections/Offer.h"

namespace vellumix::x11 {

/// A value on its way out to a requestor in pieces (INCR, ICCCM 2.0 section 2.7.2; `Conversion` reads them),
/// one each time that the requestor has deleted the property, as soon as it is this client's turn.
///
/// Ends with the last piece, with its requestor, or when the requestor takes too long.
class IncrementalSending {
public:
    struct Destination {
        xcb_window_t requestor;
        xcb_atom_t property;
        bool operator==(const Destination&) const = default;
    };

    struct Value {
        xcb_atom_t type;
        /// Bits of one element: 8, 16 or 32.
        std::uint8_t format;
        SharedBytes bytes;
    };

    /// Announces the value. Nothing when the requestor's window is gone. `end` is called once, from the loop,
    /// as the last thing that the transfer does: it may destroy the transfer.
    static std::unique_ptr<IncrementalSending> begin(Connection& connection, const Destination& destination,
                                                     Value value, double pieceSeconds,
                                                     std::function<void(IncrementalSending*)> end);
    IncrementalSending(const IncrementalSending&) = delete;
    IncrementalSending& operator=(const IncrementalSending&) = delete;

    const Destination& destination() const { return destination_; }

private:
    IncrementalSending(Connection& connection, const Destination& destination, Value value,
                       double pieceSeconds, std::function<void(IncrementalSending*)> end);

    void handle(const xcb_generic_event_t& event);
    void sendPieceLater();
    std::size_t sendPiece();
    void await();
    void finish();

    Connection& connection;
    const Destination destination_;
    const Value value;
    const double pieceSeconds;
    std::function<void(IncrementalSending*)> end;
    std::size_t offset = 0;
    /// The requestor waits for the next piece.
    bool isPieceDue = false;
    Observation events;
    std::unique_ptr<NSTimer> deadline;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
