#pragma once

#include <string>
#include <string_view>

namespace vellumix {

/// Where log lines go. Called on any thread. A line never carries what a person copied.
class LogSink {
public:
    enum class Level { info, error };
    virtual ~LogSink() = default;
    virtual void write(Level level, std::string_view category, std::string_view message) = 0;
};

/// The log of one owner, under the subsystem "com.tarnwick.Vellumix".
class Log {
public:
    static constexpr std::string_view subsystem = "com.tarnwick.Vellumix";

    /// `category` must outlive the log: a literal.
    explicit constexpr Log(std::string_view category) : category(category) {}

    void info(std::string_view message) const;
    void error(std::string_view message) const;

    /// Called by the platform's scope alone; returns the sink that was in force.
    static LogSink* install(LogSink* sink);

private:
    std::string_view category;
};

}  // namespace vellumix
