#pragma once

#include <string>
#include <vector>

namespace vellumix {

/// A modal question.
struct NSAlert {
    std::string messageText;
    std::string informativeText;
    /// In the order in which they were added.
    std::vector<std::string> buttons;

    /// The answer of the first button; each further one adds 1. An alert that can't be shown or is closed
    /// answers as its first button would.
    static constexpr int firstButtonReturn = 1000;
};

/// Shows modal questions. Main thread.
class Alerts {
public:
    virtual ~Alerts() = default;
    /// Serves the main loop, timers included, until the user has answered.
    virtual int runModal(const NSAlert& alert) = 0;
};

}  // namespace vellumix
