#pragma once

#include "platform/foundation/observation/ObserverList.h"

namespace vellumix {

/// Hears which published properties are read while it is in force, so that it can observe them. Main thread.
///
/// Trackers nest: one that is made while another is in force takes its place until it goes.
class ReadTracker {
public:
    ReadTracker() : outer(current_) { current_ = this; }
    ReadTracker(const ReadTracker&) = delete;
    ReadTracker& operator=(const ReadTracker&) = delete;
    virtual ~ReadTracker() { current_ = outer; }

    /// `observers` is the list that the property notifies; it lives no longer than the property.
    virtual void didRead(ObserverList<>& observers) = 0;

    static ReadTracker* current() { return current_; }

private:
    ReadTracker* outer;
    static inline ReadTracker* current_ = nullptr;
};

}  // namespace vellumix
