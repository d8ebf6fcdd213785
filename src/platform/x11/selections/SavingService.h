#pragma once

#include "platform/x11/selections/SelectionOwner.h"

namespace vellumix::x11 {

/// The display's service that keeps copies: answers programs that are about to end and ask for their copy to
/// be kept (the ClipboardManager specification of freedesktop.org: CLIPBOARD_MANAGER and SAVE_TARGETS).
class SavingService {
public:
    /// Takes the part of the manager unless another program has it. `mustWait` is told each time that a
    /// program asks; true lets its answer wait until `answer`. A program must not wait for long, and must not
    /// be answered before all is read, as it ends then.
    SavingService(Connection& connection, const TransferLimits& limits,
                  std::function<bool(const SelectionOwner::Request&)> mustWait);

    void answer() { owner.answer(); }

private:
    void announce();

    Connection& connection;
    SelectionOwner owner;
};

}  // namespace vellumix::x11
