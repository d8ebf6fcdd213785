#include "shell/Commands.h"

#include <gtest/gtest.h>

#include "platform/foundation/observation/SharedInstances.h"
#include "platform/foundation/text/LocalizedText.h"
#include "shell/StatusReport.h"

namespace vellumix {
namespace {

using Presence = RunningInstance::Presence;
using Request = RunningInstance::PanelRequest;

constexpr const char* state = R"({"entries":{"text":2},"pinned":1})";

/// The program in another process, as far as the commands see it.
struct Other {
    Presence presence = Presence::running;
    bool answers = true;
    std::vector<Request> requests;
    int quits = 0;
    std::vector<std::vector<std::string>> starts;
};

class OtherInstance final : public RunningInstance {
public:
    explicit OtherInstance(Other& other) : other(other) {}
    Presence presence() const override { return other.presence; }
    std::optional<std::string> status() override {
        return other.answers ? std::optional<std::string>(state) : std::nullopt;
    }
    bool quit() override { return ++other.quits > 0 && other.answers; }
    bool ask(PanelRequest request) override {
        other.requests.push_back(request);
        return other.answers && other.presence == Presence::running;
    }
    bool takeAccount(const std::optional<CloudAccount>&) override { return false; }

private:
    Other& other;
};

class CommandsTest : public testing::Test {
protected:
    /// What is said on the two outputs comes with the exit status.
    struct Result {
        ExitStatus status;
        std::string out;
        std::string said;
    };
    Result run(const std::vector<std::string>& words) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const auto line = CommandLine::parse(words);
        const bool isRun = line.error.empty() && line.command == CommandLine::Command::run;
        const auto status = isRun ? commands.handOver(line) : commands.perform(line);
        const auto out = testing::internal::GetCapturedStdout();
        return {status, out, testing::internal::GetCapturedStderr()};
    }
    static std::string sentence(const char* key) { return "vellumix: " + localized(key) + '\n'; }

    const SharedInstances::Scope instances;
    Other other;
    const Commands commands{{.find = [this] { return std::make_unique<OtherInstance>(other); },
                             .start =
                                 [this](const auto& words) {
                                     other.starts.push_back(words);
                                     return other.answers;
                                 },
                             .account = [](const auto&) { return ExitStatus::done; },
                             .version = "Vellumix 1"}};
};

TEST_F(CommandsTest, EachSaysHowItEnded) {
    const struct {
        std::vector<std::string> words;
        Presence presence;
        bool answers;
        ExitStatus status;
        /// The text key of what is said, if anything.
        const char* said;
    } rows[] = {
        {{"toggle"}, Presence::running, true, ExitStatus::done, nullptr},
        {{"show"}, Presence::running, false, ExitStatus::impossible, "command.noAnswer"},
        {{"hide"}, Presence::notRunning, true, ExitStatus::nothingRunning, "command.notRunning"},
        {{"hide"}, Presence::unknown, true, ExitStatus::nothingRunning, "command.noBus"},
        {{"show"}, Presence::notRunning, true, ExitStatus::done, nullptr},
        {{"toggle"}, Presence::notRunning, false, ExitStatus::impossible, "command.cannotStart"},
        {{"quit"}, Presence::running, true, ExitStatus::done, nullptr},
        {{"quit"}, Presence::running, false, ExitStatus::impossible, "command.stillRunning"},
        {{"quit"}, Presence::notRunning, true, ExitStatus::nothingRunning, "command.notRunning"},
        {{"status"}, Presence::running, false, ExitStatus::impossible, "command.noAnswer"},
        {{"status"}, Presence::unknown, true, ExitStatus::nothingRunning, "command.noBus"},
        // A second start.
        {{}, Presence::running, true, ExitStatus::done, "command.panelIsOpen"},
        {{}, Presence::running, false, ExitStatus::impossible, "command.noAnswer"},
        {{"-resetOnboarding"}, Presence::running, true, ExitStatus::impossible, "command.cannotReset"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE((row.words.empty() ? "" : row.words.front()) + (row.answers ? "" : " unanswered"));
        other = {.presence = row.presence, .answers = row.answers};
        const auto result = run(row.words);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.said, row.said ? sentence(row.said) : "");
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(CommandsTest, AreAskedOfTheRunningProgramOrStartIt) {
    for (const auto* word : {"toggle", "show", "hide"}) run({word});
    run({});
    EXPECT_EQ(other.requests, (std::vector{Request::toggle, Request::show, Request::hide, Request::show}));
    run({"quit"});
    EXPECT_EQ(other.quits, 1);
    EXPECT_TRUE(other.starts.empty());
    other.presence = Presence::notRunning;
    run({"toggle"});
    run({"hide"});
    EXPECT_EQ(other.starts, (std::vector<std::vector<std::string>>{{"--show"}}));
}

TEST_F(CommandsTest, WhatIsAskedForIsPrinted) {
    EXPECT_EQ(run({"status", "--json"}).out, std::string(state) + '\n');
    EXPECT_EQ(run({"status"}).out, readableStatus(state));
    EXPECT_NE(readableStatus(state), "");
    EXPECT_EQ(run({"--version"}).out, "Vellumix 1\n");
    EXPECT_NE(run({"--help"}).out.find(localized("help.exitStatus")), std::string::npos);
    const auto wrong = run({"stauts"});
    EXPECT_EQ(wrong.status, ExitStatus::wrongWords);
    EXPECT_NE(wrong.said.find(localized("command.tryHelp")), std::string::npos);
    EXPECT_EQ(wrong.out, "");
}

}  // namespace
}  // namespace vellumix
