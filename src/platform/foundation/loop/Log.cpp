#include "platform/foundation/loop/Log.h"

#include <utility>

namespace vellumix {

namespace {
LogSink* installed = nullptr;
}

LogSink* Log::install(LogSink* sink) { return std::exchange(installed, sink); }

void Log::info(std::string_view message) const {
    if (installed) installed->write(LogSink::Level::info, category, message);
}

void Log::error(std::string_view message) const {
    if (installed) installed->write(LogSink::Level::error, category, message);
}

}  // namespace vellumix
