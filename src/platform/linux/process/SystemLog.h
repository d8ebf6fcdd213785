#pragma once

#include "platform/foundation/loop/Log.h"

namespace vellumix::linux_desktop {

/// Log lines to the system's journal, else to standard error. Any thread.
///
/// In the journal a line has the fields MESSAGE, PRIORITY, SYSLOG_IDENTIFIER, SUBSYSTEM and CATEGORY; on
/// standard error it is "vellumix: [category] message". Control characters in a message appear as \xNN, so
/// that a line stays one line and a terminal shows it as it is.
class SystemLog final : public LogSink {
public:
    enum class StandardError { withoutJournal, always };

    explicit SystemLog(StandardError standardError) : standardError(standardError) {}
    void write(Level level, std::string_view category, std::string_view message) override;

private:
    StandardError standardError;
};

}  // namespace vellumix::linux_desktop
