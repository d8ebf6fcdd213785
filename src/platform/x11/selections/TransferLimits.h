#pragma once

#include <cstddef>

namespace vellumix::x11 {

/// How long other programs are waited for, and how much is taken from them.
struct TransferLimits {
    /// Seconds that an owner has to answer one conversion. People notice a copy that takes longer, and an
    /// owner that hangs must not hold its program's SAVE_TARGETS for long.
    double answerSeconds = 2;
    /// The same for an image: programs make it when they are asked, and 12 megapixels take a GIMP 4 s as PNG,
    /// 6 s as TIFF. (As BMP it would take 0.6 s, but without transparency.)
    double imageSeconds = 30;
    /// Seconds after which text is asked for once more that was announced and refused.
    double againSeconds = 1;
    /// Seconds between two pieces of an incremental value.
    double pieceSeconds = 2;
    /// Seconds for all that is read of one copy, beside the wait for an image. An owner that trickles ends
    /// here.
    double fetchSeconds = 30;
    /// Seconds that a requestor has to take one piece from us. Longer, as nothing waits for it but memory.
    double sendSeconds = 10;
    /// The largest content that is read. A copy has no natural bound, but the whole history is enciphered and
    /// written at each change: beyond this, one entry would make every later copy slow.
    std::size_t payloadBytes = std::size_t{128} << 20;
    /// Seconds for all further formats of a program that is about to end and waits for it. Programs wait 5 to
    /// 10 seconds at most; what came in time is kept.
    double saveSeconds = 4;
    /// Bytes of these formats in sum: memory that stays in use until the next copy.
    std::size_t savedBytes = std::size_t{32} << 20;
    /// Seconds within which a program that has emptied the clipboard must end for that to have been its end.
    double endSeconds = 1;
    /// Incremental values under way to one client; further ones are refused it.
    std::size_t transfers = 64;
};

}  // namespace vellumix::x11
