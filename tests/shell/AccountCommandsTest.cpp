#include "shell/AccountCommands.h"

#include "platform/foundation/text/LocalizedText.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using Presence = RunningInstance::Presence;

constexpr const char* address = "https://example.org/couch";

/// The program in another process, with settings of its own.
class OtherInstance final : public RunningInstance {
public:
    Presence presence() const override { return present; }
    std::optional<std::string> status() override { return std::nullopt; }
    bool quit() override { return false; }
    bool ask(PanelRequest) override { return false; }
    bool takeAccount(const std::optional<CloudAccount>& account) override {
        taken.push_back(account);
        return answers;
    }

    Presence present = Presence::notRunning;
    bool answers = true;
    std::vector<std::optional<CloudAccount>> taken;
};

class AccountCommandsTest : public HeadlessTest {
protected:
    struct Result {
        ExitStatus status;
        std::string out;
        std::string said;
    };
    Result run(const std::vector<std::string>& words) {
        const auto line = CommandLine::parse(words);
        EXPECT_EQ(line.error, "");
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const auto status = commands.perform(line.account);
        const auto out = testing::internal::GetCapturedStdout();
        return {status, out, testing::internal::GetCapturedStderr()};
    }

    const std::shared_ptr<OtherInstance> other = std::make_shared<OtherInstance>();
    bool mayWrite = true;
    std::string typed = "open sesame";
    const AccountCommands commands{{
        .instance = other,
        .mayWriteSettings = [this] { return mayWrite; },
        .readPassword = [this](const std::string&) -> std::optional<SecretText> { return SecretText(typed); },
        .loginName = "ali",
    }};
};

TEST_F(AccountCommandsTest, AnAccountIsStoredShownAndRemoved) {
    EXPECT_EQ(run({"account", "show"}).status, ExitStatus::impossible);
    EXPECT_EQ(run({"account", "set", address, "--user", "baba"}).status, ExitStatus::done);
    EXPECT_EQ(CloudAccount::stored(), (CloudAccount{address, "baba"}));
    EXPECT_EQ(CloudAccount::stored()->password().text->view(), typed);
    const auto shown = run({"account", "show"});
    EXPECT_NE(shown.out.find("baba"), std::string::npos);
    EXPECT_NE(shown.out.find(address), std::string::npos);
    EXPECT_EQ(shown.out.find(typed), std::string::npos);
    EXPECT_EQ(
        std::string(asText(desktop.files.files["/home/user/.config/Vellumix/settings.plist"])).find(typed),
        std::string::npos);

    // A stranger who writes the settings learns nothing by it.
    const CloudAccount elsewhere{"https://evil.example", "baba"};
    EXPECT_EQ(elsewhere.password().status, errSecItemNotFound);

    EXPECT_EQ(run({"account", "set", address}).status, ExitStatus::done);
    EXPECT_EQ(CloudAccount::stored()->user, "ali");
    EXPECT_EQ(run({"account", "remove"}).status, ExitStatus::done);
    EXPECT_FALSE(CloudAccount::stored());
    EXPECT_TRUE(desktop.keychain.items.empty());
    EXPECT_EQ(run({"account", "remove"}).status, ExitStatus::done) << "there is none, as was wanted";
}

TEST_F(AccountCommandsTest, ARunningProgramTakesItUpItself) {
    other->present = Presence::running;
    mayWrite = false;
    EXPECT_EQ(run({"account", "set", address}).status, ExitStatus::done);
    EXPECT_EQ(run({"account", "remove"}).status, ExitStatus::done);
    EXPECT_EQ(other->taken, (std::vector<std::optional<CloudAccount>>{CloudAccount{address, "ali"}, {}}));
    EXPECT_FALSE(CloudAccount::stored()) << "it writes its settings itself";
}

TEST_F(AccountCommandsTest, WhatCannotBeDoneIsSaid) {
    struct Story {
        std::vector<std::string> words;
        std::function<void()> prepare;
        const char* said;
    };
    const Story stories[] = {
        {{"set", "http://example.org"}, [] {}, "account.badAddress"},
        {{"set", address, "--user", "a:b"}, [] {}, "account.badName"},
        {{"set", address, "--user", ""}, [] {}, "account.badName"},
        {{"set", address}, [&] { typed = ""; }, "account.noPassword"},
        {{"set", address},
         [&] { desktop.keychain.refusal = errSecInteractionNotAllowed; },
         "account.keychainLocked"},
        {{"set", address}, [&] { desktop.keychain.refusal = errSecIO; }, "account.keychainFails"},
        {{"set", address}, [&] { mayWrite = false; }, "account.notStored"},
        {{"set", address},
         [&] {
             other->present = Presence::running;
             other->answers = false;
         },
         "account.notStored"},
        {{"remove"}, [&] { mayWrite = false; }, "account.notStored"},
    };
    for (const auto& story : stories) {
        SCOPED_TRACE(story.said);
        typed = "open sesame";
        mayWrite = other->answers = true;
        other->present = Presence::notRunning;
        desktop.keychain.refusal.reset();
        story.prepare();
        auto words = story.words;
        words.insert(words.begin(), "account");
        const auto result = run(words);
        EXPECT_EQ(result.status, ExitStatus::impossible);
        EXPECT_EQ(result.said, "vellumix: " + localized(story.said) + '\n');
        EXPECT_EQ(result.out, "");
        EXPECT_FALSE(CloudAccount::stored());
    }
    for (const std::vector<std::string>& words : {std::vector<std::string>{},
                                                  {"sett"},
                                                  {"set"},
                                                  {"set", "--user", "a"},
                                                  {"set", address, "--user"},
                                                  {"set", address, address},
                                                  {"show", address},
                                                  {"set", address, "--password"}}) {
        auto all = words;
        all.insert(all.begin(), "account");
        EXPECT_NE(CommandLine::parse(all).error, "") << testing::PrintToString(words);
    }
}

TEST_F(AccountCommandsTest, TheCheckSaysWhatTheServerSaid) {
    desktop.cloud.delay = 3;
    const auto good = run({"account", "check"});
    EXPECT_EQ(good.status, ExitStatus::done);
    EXPECT_EQ(good.out, "All is right.\n");
    desktop.cloud.accountFault = "The server knows another password.";
    const auto refused = run({"account", "check"});
    EXPECT_EQ(refused.status, ExitStatus::impossible);
    EXPECT_EQ(refused.said, "vellumix: The server knows another password.\n");
}

}  // namespace
}  // namespace vellumix
