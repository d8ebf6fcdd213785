#include "platform/linux/process/SystemLog.h"

#include <glib.h>
#include <unistd.h>

#include <array>
#include <string>

namespace vellumix::linux_desktop {

namespace {

constexpr std::string_view programName = "vellumix";

bool isControl(unsigned char byte) { return byte < 0x20 || byte == 0x7F; }

std::string escaped(std::string_view message) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(message.size());
    for (std::size_t i = 0; i < message.size(); ++i) {
        const auto byte = static_cast<unsigned char>(message[i]);
        // The second set of controls, U+0080 to U+009F, is C2 80 to C2 9F in UTF-8.
        const bool isWideControl = byte == 0xC2 && i + 1 < message.size() &&
                                   static_cast<unsigned char>(message[i + 1]) >= 0x80 &&
                                   static_cast<unsigned char>(message[i + 1]) <= 0x9F;
        if (!isControl(byte) && !isWideControl) {
            text += message[i];
            continue;
        }
        const auto code = isWideControl ? static_cast<unsigned char>(message[++i]) : byte;
        text += "\\x";
        text += digits[code >> 4];
        text += digits[code & 15];
    }
    return text;
}

GLogField field(const char* key, std::string_view value) {
    return {key, value.data(), static_cast<gssize>(value.size())};
}

bool writeToJournal(LogSink::Level level, std::string_view category, std::string_view message) {
    const bool isError = level == LogSink::Level::error;
    const std::array fields{
        field("MESSAGE", message),
        // RFC 5424 section 6.2.1: 3 is an error, 6 informational.
        field("PRIORITY", isError ? "3" : "6"),
        field("SYSLOG_IDENTIFIER", programName),
        field("SUBSYSTEM", Log::subsystem),
        field("CATEGORY", category),
    };
    return g_log_writer_journald(isError ? G_LOG_LEVEL_CRITICAL : G_LOG_LEVEL_INFO, fields.data(),
                                 fields.size(), nullptr) == G_LOG_WRITER_HANDLED;
}

void writeToStandardError(std::string_view category, std::string_view message) {
    std::string line(programName);
    line.append(": [").append(category).append("] ").append(message).append("\n");
    // One call a line keeps the lines of two threads apart. There is nowhere to report a failure to.
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace

void SystemLog::write(Level level, std::string_view category, std::string_view message) {
    const auto text = escaped(message);
    const bool isInJournal = writeToJournal(level, category, text);
    if (!isInJournal || standardError == StandardError::always) writeToStandardError(category, text);
}

}  // namespace vellumix::linux_desktop
