#include "platform/linux/updates/Updater.h"

#include "platform/foundation/bytes/Base64.h"
#include "platform/foundation/text/LocalizedText.h"
#include "support/HeadlessTest.h"

namespace vellumix::linux_desktop {
namespace {

using Stage = UpdatePrompt::Stage;
using Answer = UpdatePrompt::Answer;

constexpr auto folder = "/home/user/.local/share/Vellumix/updates";
constexpr auto feedAddress = "https://example.org/feed.xml";
// Made by the commands of docs/updates.md.
constexpr auto publicKey = "IzGy1Z1snIDNX58cErzXkEWNbzOJYezrj7OMHKurnck=";
constexpr std::string_view release = "What is in the release.\n";
constexpr auto releaseSignature =
    "HDp83Se9RzGNpnSTgqTbFj2wB6/XW4sZsOmt7y1wzgsp8864ulULHTjDniuOs0TZd6eh3BTed4+OvIJqfR8TBQ==";
constexpr std::string_view otherRelease = "What is in another one.\n";
constexpr auto otherSignature =
    "lKlbsQgEMyv6m08hHVA1BfSEV1kc34dNn3apeFczjbMDqyiz0nRhv2Gpa5kPVPUHSQzUqXReRMTKDs0IdlvFAw==";

struct Announced {
    std::string build = "200";
    std::string file = "vellumix.deb";
    std::string signature = releaseSignature;
    std::size_t length = release.size();
    std::string system = "2.36";
};

std::string feedOf(const std::vector<Announced>& releases) {
    std::string text = "<rss version='2.0' xmlns:v='urn:v'><channel>";
    for (const auto& each : releases) {
        text += "<item><description>Notes of " + each.build + "</description><v:minimumSystemVersion>" +
                each.system + "</v:minimumSystemVersion><enclosure v:version='" + each.build +
                "' v:shortVersionString='" + each.build + " in words' url='https://example.org/" + each.file +
                "' length='" + std::to_string(each.length) + "' v:edSignature='" + each.signature +
                "'/></item>";
    }
    return text + "</channel></rss>";
}

/// Keeps what is shown, in words.
class ShownPrompt final : public UpdatePrompt {
public:
    explicit ShownPrompt(std::string& shown) : shown(shown) {}
    ~ShownPrompt() override { shown.clear(); }
    void show(const Stage& stage) override {
        if (std::holds_alternative<Checking>(stage)) shown = "checking";
        if (const auto* offer = std::get_if<Offer>(&stage))
            shown = "offer " + offer->version + ": " + offer->notes;
        if (const auto* progress = std::get_if<Progress>(&stage))
            shown = "progress " + std::to_string(progress->fraction);
        if (const auto* message = std::get_if<Message>(&stage)) shown = message->text;
    }
    void raise() override { shown += ", raised"; }

private:
    std::string& shown;
};

class UpdaterTest : public HeadlessTest {
protected:
    UpdaterTest() {
        platform::current().mainBundle.infoDictionary = {{"SUPublicEDKey", std::string(publicKey)},
                                                         {"SUFeedURL", std::string(feedAddress)},
                                                         {"CFBundleShortVersionString", std::string("1.0")},
                                                         {"CFBundleVersion", std::string("100")}};
        desktop.urlSession.answer = [this](const NSURLRequest& request) {
            if (request.url.absoluteString() == feedAddress) return feedAnswer;
            return fileAnswer;
        };
    }
    void announce(const std::vector<Announced>& releases) {
        feedAnswer.body = Data(std::string_view(feedOf(releases)));
    }

    std::unique_ptr<Updater> make() {
        return std::make_unique<Updater>(Updater::Options{
            .session = desktop.urlSession,
            .files = desktop.files,
            .sharing = desktop.sharing,
            .makePrompt =
                [this](UpdatePrompt::Manner given, const Stage& stage, auto handler) {
                    manner = given;
                    answer = std::move(handler);
                    auto prompt = std::make_unique<ShownPrompt>(shown);
                    prompt->show(stage);
                    return prompt;
                },
            .folder = folder,
            .systemVersion = "2.36",
            .findAppImage = [] { return std::nullopt; },
            .relaunch = [](const std::string&) {},
        });
    }
    std::unique_ptr<Updater> started() {
        auto updater = make();
        EXPECT_TRUE(updater->updater().startUpdater());
        return updater;
    }
    /// What a person sees who asks, and installs what is offered.
    std::string installed() {
        const auto updater = make();
        updater->checkForUpdates();
        desktop.runLoop.advance(1);
        if (!shown.starts_with("offer")) return shown;
        answer(Answer::install);
        desktop.runLoop.advance(10);
        return shown;
    }
    std::size_t feedsAsked() const {
        return static_cast<std::size_t>(std::ranges::count_if(
            desktop.urlSession.requests,
            [](const auto& request) { return request.url.absoluteString() == feedAddress; }));
    }
    std::vector<std::string> left() {
        std::vector<std::string> names;
        for (const auto& [path, content] : desktop.files.files) {
            if (path.starts_with(folder)) names.push_back(path);
        }
        return names;
    }

    headless::URLSession::Answer feedAnswer;
    headless::URLSession::Answer fileAnswer{.body = Data(release)};
    std::string shown;
    UpdatePrompt::Manner manner{};
    std::function<void(Answer)> answer;
};

TEST_F(UpdaterTest, WhatIsOfferedIsNewerAndForThisSystem) {
    const std::pair<std::vector<Announced>, std::string> cases[] = {
        {{{}}, "offer 200 in words: Notes of 200"},
        {{{.build = "101"}, {.build = "200.1"}, {.build = "200"}}, "offer 200.1 in words: Notes of 200.1"},
        {{{.system = "2.37"}, {.build = "150"}}, "offer 150 in words: Notes of 150"},
        {{{.system = "2.37"}}, localized("updates.systemTooOld")},
        {{{.build = "100"}}, localized("updates.none", std::string("1.0"))},
        {{{.build = "100.0"}}, localized("updates.none", std::string("1.0"))},
        {{{.build = "99.9"}}, localized("updates.none", std::string("1.0"))},
        {{{.build = "20"}}, localized("updates.none", std::string("1.0"))},
        {{{.file = "vellumix.sh"}}, localized("updates.none", std::string("1.0"))},
        {{}, localized("updates.none", std::string("1.0"))},
    };
    for (const auto& [releases, expected] : cases) {
        announce(releases);
        const auto updater = make();
        updater->checkForUpdates();
        EXPECT_EQ(shown, "checking");
        desktop.runLoop.advance(1);
        EXPECT_EQ(shown, expected);
        answer(Answer::close);
        EXPECT_EQ(shown, "");
    }
    EXPECT_TRUE(desktop.log.lines.empty());
}

TEST_F(UpdaterTest, OnceADayOverAllStartsAndWithoutAWordWhereNothingIsNew) {
    announce({});
    for (int start = 0; start < 3; ++start) {
        const auto updater = started();
        EXPECT_EQ(feedsAsked(), start == 0 ? 0U : 1U) << "not at once";
        desktop.runLoop.advance(3600);
        EXPECT_EQ(feedsAsked(), 1U);
    }
    auto updater = started();
    desktop.runLoop.advance(3 * Updater::period);
    EXPECT_EQ(feedsAsked(), 4U);
    feedAnswer = {.error = URLError::cannotFindHost};
    desktop.runLoop.advance(Updater::period);
    EXPECT_EQ(feedsAsked(), 5U);
    EXPECT_EQ(desktop.log.lines, std::vector<std::string>{"Updates: The server of updates gave no answer"});
    EXPECT_EQ(shown, "");
    UserDefaults::standard().set("settings.updates.lastCheckAt", PropertyValue(desktop.runLoop.now() + 1e6));
    updater = started();
    desktop.runLoop.advance(60);
    EXPECT_EQ(feedsAsked(), 6U) << "a clock that was wrong stops nothing";
    feedAnswer = {.afterSeconds = -1};
    desktop.runLoop.advance(Updater::period + Updater::feedDeadline);
    EXPECT_EQ(desktop.urlSession.underWay, 0) << "nor does a server that never answers";

    desktop.urlSession.requests.clear();
    for (const auto* broken : {"", "REPLACE", "c2hvcnQ="}) {
        platform::current().mainBundle.infoDictionary["SUPublicEDKey"] = std::string(broken);
        updater = make();
        EXPECT_FALSE(updater->updater().startUpdater());
        updater->checkForUpdates();
        desktop.runLoop.advance(2 * Updater::period);
        EXPECT_EQ(shown, localized("updates.failed.build"));
        EXPECT_EQ(feedsAsked(), 0U);
    }
}

TEST_F(UpdaterTest, ASkippedVersionIsOfferedToWhoAsksAndANewerOneToAll) {
    announce({{}});
    const auto updater = started();
    desktop.runLoop.advance(10);
    EXPECT_EQ(shown, "offer 200 in words: Notes of 200");
    EXPECT_EQ(manner, UpdatePrompt::Manner::unasked);
    updater->checkForUpdates();
    EXPECT_TRUE(shown.ends_with(", raised"));
    desktop.runLoop.advance(Updater::period);
    answer(Answer::later);
    desktop.runLoop.advance(60);
    EXPECT_EQ(feedsAsked(), 1U) << "while the offer stands, and it isn't looked after all the time";
    desktop.runLoop.advance(Updater::period);
    EXPECT_EQ(shown, "offer 200 in words: Notes of 200");
    answer(Answer::skip);
    desktop.runLoop.advance(Updater::period);
    EXPECT_EQ(shown, "");
    updater->checkForUpdates();
    desktop.runLoop.advance(1);
    EXPECT_EQ(shown, "offer 200 in words: Notes of 200");
    EXPECT_EQ(manner, UpdatePrompt::Manner::asked);
    answer(Answer::close);
    announce({{}, {.build = "201"}});
    desktop.runLoop.advance(Updater::period);
    EXPECT_EQ(shown, "offer 201 in words: Notes of 201");
    EXPECT_TRUE(left().empty());
    EXPECT_TRUE(desktop.sharing.opened.empty());
}

TEST_F(UpdaterTest, OnlyTheSignedFileIsHandedOver) {
    announce({{}});
    EXPECT_EQ(installed(), localized("updates.handedOver", std::string("200 in words")));
    const auto path = std::string(folder) + "/update.deb";
    EXPECT_EQ(desktop.sharing.opened, std::vector{URL::file(path)});
    EXPECT_EQ(left(), std::vector{path});
    EXPECT_EQ(asText(desktop.files.files[path]), release);
    EXPECT_EQ(desktop.urlSession.requests.back().largestBody, release.size());
    desktop.sharing.opened.clear();
    started();
    EXPECT_TRUE(left().empty()) << "it goes at the next start";

    using Session = headless::URLSession::Answer;
    const auto wrong = localized("updates.failed.notAsAnnounced");
    const struct {
        Announced announced;
        Session answer;
        std::string said;
    } cases[] = {
        {{.signature = otherSignature}, {.body = Data(release)}, wrong},
        {{}, {.body = Data(otherRelease)}, wrong},
        {{.signature = otherSignature, .length = otherRelease.size()}, {.body = Data(release)}, wrong},
        {{}, {.body = Data(release.substr(1))}, wrong},
        {{.length = release.size() + 1}, {.body = Data(release)}, wrong},
        {{.length = release.size() - 1}, {.body = Data(release)}, wrong},
        {{},
         {.body = Data(release.substr(9)), .error = URLError::connectionLost},
         localized("updates.failed.connection")},
        {{},
         {.response = {.statusCode = 404}, .body = Data(release)},
         localized("updates.failed.connection")},
        {{}, {.afterSeconds = -1}, "progress 0.000000"},
        {{}, {.error = URLError::redirectRefused}, localized("updates.failed.insecure")},
        {{}, {.error = URLError::certificateExpired}, localized("updates.failed.insecure")},
    };
    for (const auto& each : cases) {
        announce({each.announced});
        fileAnswer = each.answer;
        EXPECT_EQ(installed(), each.said);
        desktop.runLoop.settle();
        EXPECT_TRUE(left().empty()) << each.said;
        EXPECT_TRUE(desktop.sharing.opened.empty()) << each.said;
    }
    // The right file for another's key.
    announce({{}});
    fileAnswer = {.body = Data(release)};
    auto key = *base64::decode(publicKey);
    key[3] ^= 4;
    platform::current().mainBundle.infoDictionary["SUPublicEDKey"] = base64::encode(key);
    EXPECT_EQ(installed(), wrong);
    EXPECT_TRUE(left().empty());

    feedAnswer = {.body = Data(std::string_view("<rss>"))};
    EXPECT_EQ(installed(), localized("updates.failed.feed"));
    feedAnswer = {.error = URLError::redirectRefused};
    EXPECT_EQ(installed(), localized("updates.failed.insecure"));
    EXPECT_TRUE(desktop.sharing.opened.empty());
}

TEST_F(UpdaterTest, ACancelAKillAndAFullDiskLeaveNothing) {
    std::string large(200'000, 'x');
    announce({{.length = large.size()}});
    fileAnswer.body = Data(std::string_view(large));
    desktop.files.room = 100'000;
    EXPECT_EQ(installed(), localized("updates.failed.noRoom"));
    desktop.runLoop.settle();
    EXPECT_TRUE(left().empty());
    desktop.files.room = std::nullopt;

    for (const bool isKilled : {false, true}) {
        auto updater = make();
        updater->checkForUpdates();
        desktop.runLoop.advance(1);
        answer(Answer::install);
        desktop.runLoop.runUntil(
            [&] { return !left().empty() && !desktop.files.files[left().front()].empty(); });
        EXPECT_TRUE(shown.starts_with("progress 0.")) << shown;
        const auto kept = desktop.files.files;
        answer(Answer::close);
        EXPECT_EQ(shown, "");
        EXPECT_EQ(desktop.urlSession.underWay, 0);
        desktop.runLoop.settle();
        if (isKilled) {
            desktop.files.files = kept;
            EXPECT_EQ(left().size(), 1U);
            started();
        }
        EXPECT_TRUE(left().empty());
    }
    EXPECT_TRUE(desktop.sharing.opened.empty());
}

}  // namespace
}  // namespace vellumix::linux_desktop
