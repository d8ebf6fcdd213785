#pragma once

#include "platform/x11/SelectionOwner.h"

namespace vellumix::x11 {

/// Answers programs that are about to end and ask for their copy to be kept (the ClipboardManager
/// specification of freedesktop.org: CLIPBOARD_MANAGER and SAVE_TARGETS).
///
/// Every copy is read when it is made, so the answer needs no further transfer and comes at once. The one
/// exception is a copy that is being read at that moment: its program would end before it has been read, so
/// the answer waits for the reading, whose own deadlines bound it.
class ClipboardManager {
public:
    /// Takes the part of the manager unless another program has it.
    ClipboardManager(Connection& connection, const TransferLimits& limits);

    void readingBegan() { _owner.hold(); }
    void readingEnded() { _owner.answer(); }

private:
    void announce();

    Connection& _connection;
    SelectionOwner _owner;
};

}  // namespace vellumix::x11
