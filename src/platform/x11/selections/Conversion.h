#pragma once

#include <functional>
#include <memory>

#include "platform/foundation/bytes/Data.h"
#include "platform/x11/selections/TransferLimits.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// What an owner put into our property.
struct ConvertedValue {
    xcb_atom_t type = XCB_ATOM_NONE;
    /// Bits of one element: 8, 16 or 32.
    std::uint8_t format = 0;
    Bytes bytes;
};

/// One conversion of a selection to a target (ICCCM 2.0 sections 2.4 and 2.7.2), from the request to the last
/// byte.
///
/// Each step has a deadline. The size is checked against the limit before memory is taken for it, with what
/// the owner announced and again with what it sends. Large values are read in pieces with the loop running in
/// between. Destroying the conversion calls it off.
class Conversion {
public:
    enum class Ending {
        /// The value is whole.
        value,
        /// The owner refused, or said yes and gave nothing.
        refused,
        late,
        tooLarge,
        /// There is no memory for it.
        noMemory,
    };
    /// With `tooLarge` the value has at most its type; otherwise only `value` brings one.
    using Completion = std::function<void(Ending, ConvertedValue)>;

    /// What becomes of a value beyond the limit.
    enum class Excess {
        abandon,
        /// Take it to its end and throw it away: some owners serve nobody else while an incremental value is
        /// under way.
        drain,
    };

    struct Request {
        /// Ours, and used for this conversion alone: a late answer to another one can't be mistaken for ours.
        xcb_window_t requestor;
        xcb_atom_t selection;
        xcb_atom_t target;
        /// A time at which the asked owner had the selection.
        xcb_timestamp_t time;
        std::size_t limit;
        /// Seconds that the owner has to answer.
        double answerSeconds;
        Excess excess = Excess::abandon;
    };

    /// The completion is called once, from the loop, as the last thing that the conversion does: it may
    /// destroy the conversion.
    Conversion(Connection& connection, const Request& request, const TransferLimits& limits,
               Completion completion);
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

private:
    enum class Phase {
        awaitingAnswer,
        readingWhole,
        awaitingPiece,
        readingPiece,
        ended,
    };

    void handle(const xcb_generic_event_t& event);
    void read();
    bool reserve(std::size_t size);
    void begin(const xcb_get_property_reply_t& reply);
    void propertyIsRead();
    void drain(const xcb_get_property_reply_t& reply);
    void await(double seconds);
    void end(Ending ending);

    Connection& connection;
    const Request request;
    const TransferLimits limits;
    Completion completion;
    ConvertedValue value;
    Phase phase = Phase::awaitingAnswer;
    bool isTooLarge = false;
    /// Bytes of the present property that have been read.
    std::size_t offset = 0;
    Observation events;
    std::unique_ptr<NSTimer> deadline;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
