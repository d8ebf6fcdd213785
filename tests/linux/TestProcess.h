#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/foundation/loop/Log.h"
#include "platform/linux/files/PosixHandles.h"

namespace vellumix::linux_desktop {

/// A folder of the test's own, gone with it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// An environment variable for as long as this lives; `nullptr` unsets it.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value);
    ~ScopedVariable();
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    std::string name;
    bool wasSet = false;
    std::string before;
};

/// Another program, ended with this.
class TestProcess {
public:
    /// The program gets `input` on its standard input; its standard error goes nowhere.
    explicit TestProcess(const std::vector<std::string>& arguments, const std::string& input = {});
    ~TestProcess() { end(); }
    TestProcess(const TestProcess&) = delete;
    TestProcess& operator=(const TestProcess&) = delete;

    /// What it writes to standard output up to the line end or the end of the output.
    std::string readLine();
    void signal(int number) const;
    /// Kills it and waits until it has gone.
    void end();
    /// Waits for its own end and gives its exit code.
    int wait();

private:
    pid_t process = -1;
    posix::Descriptor output;
};

/// Keeps log lines as "category: message".
class RecordedLog final : public LogSink {
public:
    RecordedLog() : outer(Log::install(this)) {}
    ~RecordedLog() override { Log::install(outer); }
    void write(Level, std::string_view category, std::string_view message) override {
        lines.push_back(std::string(category) + ": " + std::string(message));
    }
    std::size_t count(std::string_view part) const;

    std::vector<std::string> lines;

private:
    LogSink* outer;
};

}  // namespace vellumix::linux_desktop
