#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/URLSession.h"
#include "platform/foundation/coding/Json.h"
#include "platform/foundation/coding/URL.h"

namespace vellumix {

/// Tells the service of an event, once, and expects no answer: what can't be sent is lost, and nobody hears
/// of it. Main thread only; a message that is under way ends with the reporter.
///
/// To an address whose host is reserved (RFC 6761 section 6.4), which is what a build has that was given no
/// other, the session sends nothing.
class TelemetryReporter {
public:
    /// Takes the id of this installation from the settings, or makes one and stores it.
    explicit TelemetryReporter(const URL& base);

    /// Sends nothing where the person has asked not to be tracked, by the variable DO_NOT_TRACK.
    void send(const std::string& event, JsonValue::Object metadata);

    /// Ends in one slash.
    const URL apiURL;
    const std::string deviceId;
    NSURLSession& session;

private:
    /// Ended ones are null until the next message.
    std::vector<std::shared_ptr<std::unique_ptr<URLSessionTask>>> transfers;
};

}  // namespace vellumix
