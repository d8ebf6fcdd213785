#include "platform/linux/authentication/PamAuthentication.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "linux/TestProcess.h"
#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::linux_desktop {
namespace {

/// What the person saw, and what they answer in order; without an answer they wait.
struct Person {
    std::vector<std::string> seen;
    std::vector<std::string> answers;
    std::function<void()> cancel;
    bool sees = false;
};

class ScriptedPrompt final : public AuthenticationPrompt {
public:
    explicit ScriptedPrompt(Person& person) : person(person) { this->person.sees = true; }
    ~ScriptedPrompt() override { person.sees = false; }

    void ask(const std::string& question, Echo echo, Answer answer) override {
        person.seen.push_back((echo == Echo::off ? "secret " : "plain ") + question);
        if (person.answers.empty()) return;
        answer(SecretText(person.answers.front()));
        person.answers.erase(person.answers.begin());
    }
    void show(const std::string& message, Importance) override { person.seen.push_back(message); }

private:
    Person& person;
};

class PamAuthenticationTest : public testing::Test {
protected:
    PamAuthenticationTest() : outer(RunLoop::install(&loop)) {
        std::ofstream(folder.path() + "/passwords") << getpwuid(getuid())->pw_name << ":right:vellumix\n";
        serve(matrix());
    }
    ~PamAuthenticationTest() override { RunLoop::install(outer); }

    /// The module that asks for the password above.
    std::string matrix(const std::string& options = {}) const {
        return "auth required /usr/lib/x86_64-linux-gnu/pam_wrapper/pam_matrix.so " + options +
               " passdb=" + folder.path() + "/passwords";
    }
    void serve(const std::string& rule, const std::string& account = "pam_permit.so") {
        std::ofstream(folder.path() + "/vellumix") << rule << "\naccount required " << account << '\n';
    }
    void writeScript(const std::string& name, const std::string& commands) const {
        const auto path = folder.path() + '/' + name;
        std::ofstream(path) << "#!/bin/sh\n" << commands << '\n';
        chmod(path.c_str(), 0700);
    }
    /// What the machine tells of the owner's password, as the tool's second word, until it changes.
    void tellOfAccount(const std::string& word) {
        writeScript("tool", "echo owner " + word + " 2026-01-01 0 99999 7 -1");
        std::ofstream(folder.path() + "/passwords", std::ios::app) << "\n";
    }
    AccountPassword::Sources sources() const {
        return {.tool = folder.path() + "/tool", .passwords = folder.path() + "/passwords"};
    }
    bool isAvailable() {
        std::optional<LAError> error;
        return service.makeContext()->canEvaluatePolicy(LAPolicy::deviceOwnerAuthentication, error);
    }
    void begin() {
        const auto context = service.makeContext();
        std::optional<LAError> refusal;
        ASSERT_TRUE(context->canEvaluatePolicy(LAPolicy::deviceOwnerAuthentication, refusal));
        context->evaluatePolicy(LAPolicy::deviceOwnerAuthentication, "Because.",
                                [this](bool isSuccess, std::optional<LAError> error) {
                                    ++replies;
                                    code = isSuccess ? 0 : error.value_or(LAError{}).code;
                                });
    }
    void runUntil(const std::function<bool()>& isDone) {
        bool isLate = false;
        const auto limit = loop.oneShotTimer(20, [&] { isLate = true; });
        loop.runUntil([&] { return isDone() || isLate; });
        EXPECT_FALSE(isLate);
    }
    int finish() {
        runUntil([this] { return replies > 0; });
        EXPECT_EQ(replies, 1);
        EXPECT_FALSE(person.sees);
        return code;
    }

    TemporaryFolder folder;
    RecordedLog log;
    GLibRunLoop loop;
    Person person;
    PamAuthentication service{{.makePrompt =
                                   [this](AuthenticationPrompt::Request request) {
                                       person.cancel = request.onCancel;
                                       return std::make_unique<ScriptedPrompt>(person);
                                   },
                               .serviceFolder = folder.path(),
                               .account = sources()}};
    int replies = 0;
    int code = 1;

private:
    RunLoop* outer;
};

TEST_F(PamAuthenticationTest, TheRightPasswordConfirmsAlsoAtTheSecondTry) {
    person.answers = {"wrong", "right"};
    begin();
    EXPECT_EQ(finish(), 0);
    EXPECT_EQ(std::count_if(person.seen.begin(), person.seen.end(),
                            [](const auto& line) { return line.starts_with("secret "); }),
              2);
    EXPECT_TRUE(log.lines.empty());
}

TEST_F(PamAuthenticationTest, ThreeWrongPasswordsFail) {
    person.answers = {"wrong", "Right", "right ", "right"};
    begin();
    EXPECT_EQ(finish(), LAError::authenticationFailed);
    EXPECT_EQ(person.answers.size(), 1U);
    EXPECT_EQ(log.count("wrong"), 0U);
}

TEST_F(PamAuthenticationTest, AnOwnerWithoutAPasswordIsAskedForNone) {
    tellOfAccount("NP");
    isAvailable();
    runUntil([this] { return !isAvailable(); });
    tellOfAccount("P");
    EXPECT_TRUE(isAvailable()) << "it isn't known any more";
}

TEST_F(PamAuthenticationTest, TheMachineTellsOfTheOwnersPassword) {
    using Known = AccountPassword::Known;
    AccountPassword password(sources());
    EXPECT_EQ(password.known(), Known::unclear);
    const std::pair<const char*, Known> words[] = {
        {"NP", Known::missing}, {"P", Known::present}, {"PS", Known::present}, {"L", Known::present}};
    for (const auto& [word, expected] : words) {
        tellOfAccount(word);
        EXPECT_EQ(password.known(), Known::unclear) << "passwords have changed";
        runUntil([&, wanted = expected] { return password.known() == wanted; });
    }
    AccountPassword unchanged(sources());
    runUntil([&] { return unchanged.known() == Known::present; });
    AccountPassword unasked(sources());
    for (auto* const one : {&password, &unasked}) {
        one->turnedOutMissing();
        EXPECT_EQ(one->known(), Known::missing);
    }
}

TEST_F(PamAuthenticationTest, WhereNothingTellsAnEmptyAnswerEndsIt) {
    person.answers = {"", "right"};
    begin();
    EXPECT_EQ(finish(), LAError::passcodeNotSet);
    EXPECT_EQ(person.answers.size(), 1U) << "no second try";
    EXPECT_FALSE(isAvailable()) << "it is remembered";
    tellOfAccount("P");
    EXPECT_TRUE(isAvailable()) << "until passwords change";
}

TEST_F(PamAuthenticationTest, ServicesThatHangAreLeftBehindInAFewThreadsAtMost) {
    const auto hanging = folder.path() + "/hanging", release = folder.path() + "/release";
    writeScript("module", "echo >>" + hanging + "\nuntil [ -e " + release + " ] || [ ! -e " + hanging +
                              " ]; do sleep 0.05; done");
    serve("auth required pam_exec.so " + folder.path() + "/module");
    const auto modules = [&] {
        std::ifstream file(hanging);
        return std::count(std::istreambuf_iterator<char>(file), {}, '\n');
    };
    // The modules say nothing to the loop.
    const auto look = loop.repeatingTimer(0.01, [] {});
    int begun = 0;
    while (begun < 10 && isAvailable()) {
        replies = 0;
        begin();
        ++begun;
        runUntil([&] { return modules() == begun; });
        person.cancel();
        EXPECT_EQ(finish(), LAError::userCancel);
    }
    EXPECT_EQ(begun, 3);
    std::ofstream(release).put('\n');
    runUntil([this] { return isAvailable(); });
}

TEST_F(PamAuthenticationTest, ThePersonMayBreakOffWhetherAskedOrNot) {
    begin();
    runUntil([this] { return !person.seen.empty(); });
    person.cancel();
    EXPECT_EQ(finish(), LAError::userCancel);

    replies = 0;
    serve("auth required pam_exec.so /bin/sleep 3");
    const auto before = loop.uptime();
    begin();
    loop.postAfter(0.1, [this] { person.cancel(); });
    EXPECT_EQ(finish(), LAError::userCancel);
    EXPECT_LT(loop.uptime() - before, 2) << "a module that hangs is not waited for";
}

TEST_F(PamAuthenticationTest, TheProgramBreaksOffWhatIsOpen) {
    begin();
    begin();
    runUntil([this] { return person.seen.size() == 2; });
    service.cancelAll();
    EXPECT_EQ(replies, 2);
    EXPECT_EQ(code, LAError::appCancel);
    EXPECT_FALSE(person.sees);
    service.cancelAll();
    EXPECT_EQ(replies, 2);
}

TEST_F(PamAuthenticationTest, WhatModulesSayIsShownAndAnOpenQuestionIsNoSecret) {
    std::ofstream(folder.path() + "/words") << "Put your finger on the reader";
    serve("auth optional pam_echo.so file=" + folder.path() + "/words\n" + matrix("echo verbose"));
    person.answers = {"right"};
    begin();
    EXPECT_EQ(finish(), 0);
    ASSERT_GE(person.seen.size(), 2U);
    EXPECT_TRUE(person.seen[0].starts_with("Put your finger on the reader")) << person.seen[0];
    EXPECT_TRUE(person.seen[1].starts_with("plain ")) << person.seen[1];
}

TEST_F(PamAuthenticationTest, AModuleOrTheAccountEndsItBeforeTheTriesAreUsedUp) {
    serve(matrix(), "pam_debug.so acct=acct_expired");
    person.answers = {"right", "right"};
    begin();
    EXPECT_EQ(finish(), LAError::authenticationFailed);
    EXPECT_EQ(person.answers.size(), 1U);

    replies = 0;
    serve("auth required pam_debug.so auth=maxtries");
    begin();
    EXPECT_EQ(finish(), LAError::authenticationFailed);
    EXPECT_EQ(log.count("PAM status"), 2U);
}

TEST_F(PamAuthenticationTest, NothingIsAskedWithoutAServiceOrAPrompt) {
    std::optional<LAError> error;
    PamAuthentication blind({.serviceFolder = folder.path()});
    EXPECT_FALSE(blind.makeContext()->canEvaluatePolicy(LAPolicy::deviceOwnerAuthentication, error));
    unlink((folder.path() + "/vellumix").c_str());
    EXPECT_FALSE(service.makeContext()->canEvaluatePolicy(LAPolicy::deviceOwnerAuthentication, error));
    EXPECT_EQ(error->code, LAError::passcodeNotSet);
}

}  // namespace
}  // namespace vellumix::linux_desktop
