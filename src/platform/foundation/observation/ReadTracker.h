#pragma once

#include "platform/foundation/observation/ObserverList.h"

namespace vellumix {

/// Hears which published properties are read while it is in force, so that it can observe them. Main thread.
///
/// Trackers nest: one that is made while another is in force takes its place until it goes.
class ReadTracker {
public:
    ReadTracker() : _outer(_current) { _current = this; }
    ReadTracker(const ReadTracker&) = delete;
    ReadTracker& operator=(const ReadTracker&) = delete;
    virtual ~ReadTracker() { _current = _outer; }

    /// `observers` is the list that the property notifies; it lives no longer than the property.
    virtual void didRead(ObserverList<>& observers) = 0;

    static ReadTracker* current() { return _current; }

private:
    ReadTracker* _outer;
    static inline ReadTracker* _current = nullptr;
};

}  // namespace vellumix
