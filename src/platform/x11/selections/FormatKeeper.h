#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "platform/x11/selections/Conversion.h"
#include "platform/x11/selections/Offer.h"
#include "platform/x11/server/Window.h"

namespace vellumix::x11 {

/// What is to be kept of content whose program is about to end, beside what `offer` has of it: the targets
/// that its owner announces, pictures last. `wanted` are those that the program names; none means all.
///
/// Left out are the targets of the protocol, those that do something (ICCCM 2.0 section 2.6.3), and, where
/// the content is a picture, the same picture in other encodings.
std::deque<xcb_atom_t> targetsToKeep(const Content& content, const Offer& offer,
                                     const std::vector<std::uint32_t>& wanted);

/// Reads what the owner of a selection has under many targets, one after the other.
///
/// What is refused, or would go beyond the bound of all of them together, is left out. Ends early when the
/// owner is too slow, with what has come. Destroying it calls it off.
class FormatKeeper {
public:
    using Completion = std::function<void(std::vector<Offer::Representation>)>;

    /// `time` is that at which the owner took the selection. The completion is called once, from the loop, as
    /// the last thing that the keeper does: it may destroy the keeper.
    FormatKeeper(Connection& connection, const TransferLimits& limits, xcb_atom_t selection,
                 xcb_timestamp_t time, std::deque<xcb_atom_t> targets, Completion completion);
    FormatKeeper(const FormatKeeper&) = delete;
    FormatKeeper& operator=(const FormatKeeper&) = delete;

private:
    void askNext();
    void came(xcb_atom_t target, Conversion::Ending ending, ConvertedValue value);
    void end();

    Connection& connection;
    const TransferLimits limits;
    const xcb_atom_t selection;
    const xcb_timestamp_t time;
    std::deque<xcb_atom_t> targets;
    Completion completion;
    std::vector<Offer::Representation> kept;
    std::size_t bytesLeft;
    std::vector<std::unique_ptr<Window>> windows;
    std::unique_ptr<Conversion> conversion;
    std::unique_ptr<NSTimer> deadline;
};

}  // namespace vellumix::x11
