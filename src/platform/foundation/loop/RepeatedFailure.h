#pragma once

#include <map>
#include <memory>
#include <string>

#include "platform/foundation/loop/Log.h"
#include "platform/foundation/loop/RunLoop.h"

namespace vellumix {

/// Logs failures that another program can bring about as often as it likes: each at once, and its repeats
/// within the next minute in one line, with their number. Main thread only.
class RepeatedFailure {
public:
    static constexpr double period = 60;

    RepeatedFailure(RunLoop& runLoop, Log log) : runLoop(runLoop), log(log) {}
    ~RepeatedFailure() { sayHowOften(); }
    RepeatedFailure(const RepeatedFailure&) = delete;
    RepeatedFailure& operator=(const RepeatedFailure&) = delete;

    /// One of few sentences, without content.
    void error(const std::string& sentence);

private:
    void sayHowOften();

    RunLoop& runLoop;
    const Log log;
    /// How often each sentence was repeated since it was logged.
    std::map<std::string, std::size_t> repeats;
    std::unique_ptr<NSTimer> timer;
};

}  // namespace vellumix
