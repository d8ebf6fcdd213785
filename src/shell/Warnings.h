#pragma once

#include "core/history/Store.h"
#include "platform/foundation/observation/Observation.h"

namespace vellumix {

/// Tells the user, above whatever they are at, what the program can't mend by itself: that the history isn't
/// saved, that a locked entry isn't enciphered, that a copy wasn't recorded, and that a file to be pasted is
/// gone. Once for each time that it begins; the status tells for how long. Main thread.
class Warnings {
public:
    /// Says at once what is so already. The store outlives this.
    explicit Warnings(Store& store);

private:
    void update();

    Store& store;
    bool hasToldOfSaving = false;
    bool hasToldOfLocking = false;
    Observation items;
    Observation saving;
    Observation gone;
    Observation otherNames;
    Observation losses;
};

}  // namespace vellumix
