// The transport of the cloud against servers that don't mean well.

#include <unistd.h>

#include "linux/CloudRig.h"
#include "linux/Transfers.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/linux/cloud/ChangesFetch.h"
#include "platform/linux/cloud/CodeValidity.h"
#include "platform/linux/cloud/CouchChange.h"

namespace vellumix::linux_desktop {
namespace {

const std::string emptyFeed = R"({"results":[],"last_seq":7,"pending":0})";

std::string pathOf(const std::string& request) {
    const auto begin = request.find(' ') + 1;
    return request.substr(begin, request.find(' ', begin) - begin);
}

/// What a good server says of two records, one with a picture, and a deletion.
std::string goodAnswer(const std::string& request) {
    const auto path = pathOf(request);
    if (path == "/") return answer(R"({"couchdb":"Welcome"})");
    if (path == "/_session") return answer(R"({"ok":true,"userCtx":{"name":"ann","roles":[]}})");
    if (path.starts_with("/clipboardhistory/one/imageData?rev=1-a")) return answer("picture");
    if (path.starts_with("/clipboardhistory/_changes")) {
        return answer(
            R"({"results":[)"
            R"({"seq":"1-x","id":"one","changes":[{"rev":"1-a"}],"doc":{"_id":"one","_rev":"1-a",)"
            R"("kind":"image","_attachments":{"imageData":{"length":7,"stub":true}}}},)"
            R"({"seq":"2-x","id":"two","changes":[],"doc":{"_id":"two","_rev":"1-b","text":"\\\"}],{[\\"}},)"
            R"({"seq":"3-x","id":"three","changes":[],"deleted":true,"doc":{"_id":"three"}}],)"
            R"("last_seq":"3-x","pending":0})");
    }
    return answer("{}");
}

/// In the feed, as JSON.
std::string placeOf(const CKServerChangeToken& token) {
    const auto text = asText(token.opaque);
    return std::string(text.substr(text.find('\n') + 1));
}

class CloudTest : public testing::Test, protected CloudRig {
protected:
    void expectNothing(const Fetch& fetch, const std::string& sentence) {
        EXPECT_TRUE(fetch.toldNothing());
        EXPECT_EQ(fetch.error, sentence);
        EXPECT_EQ(assetFiles(), 0U);
    }
    void expectWhole() {
        const auto good = fetch();
        EXPECT_EQ(good.error, "");
        EXPECT_EQ(good.records.size(), 2U);
        EXPECT_EQ(good.deleted, std::vector<std::string>{"three"});
        ASSERT_TRUE(good.record("one") && good.token);
        EXPECT_EQ(contentOf(*good.record("one")->value<CKAsset>("imageData")), "picture");
        EXPECT_EQ(*good.record("two")->value<std::string>("text"), "\\\"}],{[\\");
        EXPECT_EQ(placeOf(*good.token), "\"3-x\"");
    }
};

TEST_F(CloudTest, AFetchThatIsCutAnywhereTellsNothing) {
    std::size_t cutAt = 0;
    std::string cutPath;
    const HostileServer server([&](const std::string& request, const auto& peer) {
        const auto whole = goodAnswer(request);
        if (!cutPath.empty() && pathOf(request).starts_with(cutPath)) {
            peer.send(whole.substr(0, cutAt));
            peer.drop();
        } else {
            peer.send(whole);
        }
    });
    account = accountAt(server.address());
    const auto name = "127.0.0.1:" + std::to_string(server.port());
    const auto lost = localized("cloud.connectionLost", name);
    for (const auto* path : {"/clipboardhistory/_changes", "/clipboardhistory/one"}) {
        cutPath = path;
        const auto size =
            goodAnswer("GET " + cutPath + (cutPath.ends_with("one") ? "/imageData?rev=1-a " : " ")).size();
        for (cutAt = 0; cutAt < size; ++cutAt) expectNothing(fetch(), lost);
        expectWhole();
    }
    EXPECT_EQ(assetFiles(), 0U);
}

TEST_F(CloudTest, WrongAnswersToAFetchHaveTheirOwnSentences) {
    std::string script;
    std::string badPath;
    const HostileServer server([&](const std::string& request, const auto& peer) {
        peer.send(pathOf(request).starts_with(badPath) ? script : goodAnswer(request));
    });
    account = accountAt(server.address());
    const auto name = "127.0.0.1:" + std::to_string(server.port());
    const auto say = [&](std::string_view key) { return localized(key, name); };
    const auto feed = [](const std::string& body) { return answer(body); };
    const std::string changes = "/clipboardhistory/_changes";
    const std::string picture = "/clipboardhistory/one/imageData";
    const struct {
        std::string path, script, sentence;
    } cases[] = {
        {changes, feed(""), say("cloud.unreadable")},
        {changes, feed("<html>Hello</html>"), say("cloud.unreadable")},
        {changes, feed("[]"), say("cloud.unreadable")},
        {changes, feed(R"({"results":[]})"), say("cloud.unreadable")},
        {changes, feed(R"({"results":[{}],"last_seq":1)"), say("cloud.unreadable")},
        {changes, feed(R"({"results":[{} {}],"last_seq":1})"), say("cloud.unreadable")},
        {changes, feed(R"({"results":[{},],"last_seq":1})"), say("cloud.unreadable")},
        {changes, feed(R"({"results":[1],"last_seq":1})"), say("cloud.unreadable")},
        {changes, feed(R"({"rows":[],"last_seq":1})"), say("cloud.unreadable")},
        {changes, answer("", "403 Forbidden"), say("cloud.noRight")},
        {changes, answer("", "404 None"), say("cloud.noDatabase")},
        {changes, answer("", "503 Busy"), say("cloud.serverFailed")},
        {changes, answer("", "302 Found", "Location: http://127.0.0.1:1/\r\n"), say("cloud.redirected")},
        {changes, answer("", "418 Teapot"), say("cloud.notCouch")},
        {picture, answer("short"), say("cloud.unreadable")},
        {picture, answer("longer than it said"), say("cloud.unreadable")},
        {picture, answer("", "401 No"), say("cloud.noRight")},
        {picture, answer("", "500 No"), say("cloud.serverFailed")},
    };
    for (const auto& each : cases) {
        badPath = each.path;
        script = each.script;
        SCOPED_TRACE(script);
        expectNothing(fetch(), each.sentence);
        badPath = "none";
        expectWhole();
    }
    // A feed answers 401 to a wrong password and to one that isn't enough; the server is asked which.
    badPath = "/";
    script = answer("{}", "401 No");
    expectNothing(fetch(), say("cloud.wrongPassword"));
    badPath = changes;
    expectNothing(fetch(), say("cloud.noRight"));
    // What was changed between the feed and the picture comes again by itself.
    badPath = picture;
    script = answer("{}", "404 Gone");
    const auto without = fetch();
    EXPECT_EQ(without.error, "");
    EXPECT_EQ(without.failed, std::vector<std::string>{"one"});
    EXPECT_EQ(without.records.size(), 1U);
}

TEST_F(CloudTest, TheStateOfTheAccountHasItsOwnSentences) {
    EXPECT_EQ(status(), description(CKAccountStatus::noAccount));
    EXPECT_EQ(saveZone(), localized("sync.noAccount"));
    EXPECT_EQ(saveSubscription(), localized("sync.noAccount"));
    expectNothing(fetch(), localized("sync.noAccount"));
    account = CKError{.localizedDescription = "the keyring is locked"};
    EXPECT_EQ(status(), "the keyring is locked");
    expectNothing(fetch(), "the keyring is locked");

    std::map<std::string, std::string> answers;
    const HostileServer server([&](const std::string& request, const auto& peer) {
        const auto found = answers.find(pathOf(request));
        peer.send(found == answers.end() ? goodAnswer(request) : found->second);
    });
    account = accountAt(server.address() + "/");
    const auto name = "127.0.0.1:" + std::to_string(server.port());
    const auto say = [&](std::string_view key) { return localized(key, name); };
    const struct {
        std::string path, script, sentence;
    } cases[] = {
        {"/", answer("<html>"), say("cloud.notCouch")},
        {"/", answer("{\"hello\":1}"), say("cloud.notCouch")},
        {"/", answer("{}", "401 No"), say("cloud.wrongPassword")},
        {"/", answer("{}", "502 Bad"), say("cloud.serverFailed")},
        {"/", "nonsense\r\n\r\n", say("cloud.connectionLost")},
        {"/", answer(std::string(2'000'000, 'x')), say("cloud.tooLarge")},
        {"/_session", answer("{}", "401 No"), say("cloud.wrongPassword")},
        {"/_session", answer(R"({"ok":true,"userCtx":{"name":null}})"), say("cloud.wrongPassword")},
        {"/clipboardhistory", answer("{}", "401 No"), say("cloud.noRight")},
        {"/clipboardhistory", answer("{}", "403 No"), say("cloud.noRight")},
    };
    for (const auto& each : cases) {
        answers = {{each.path, each.script}};
        EXPECT_EQ(status(), each.sentence) << each.script;
        EXPECT_EQ(check(std::get<CouchAccount>(account)), "bad: " + each.sentence);
    }
    answers = {};
    EXPECT_EQ(status(), "available");
    EXPECT_EQ(check(std::get<CouchAccount>(account)), "good: " + say("cloud.accountIsRight"));
    answers = {{"/clipboardhistory", answer("{}", "404 None")}};
    EXPECT_EQ(check(std::get<CouchAccount>(account)), "good: " + say("cloud.accountIsNew"));

    const Certificates certificates;
    const Certificates::Server stranger(certificates, "stranger");
    const std::pair<std::string, const char*> addresses[] = {
        {"https://couch.invalid", "cloud.hostNotFound"},
        {"http://example.org", "cloud.addressNotAllowed"},
        {"https://ann:pw@example.org", "cloud.addressNotAllowed"},
        {"https://example.org/?a", "cloud.addressNotAllowed"},
        {"http://127.0.0.1:1", "cloud.connectionRefused"},
        {stranger.address(), "cloud.certificateUntrusted"},
    };
    for (const auto& [address, key] : addresses) {
        const auto account = accountAt(address);
        const auto sentence = check(account);
        EXPECT_EQ(sentence, "bad: " + localized(key, serverName(account)));
        EXPECT_EQ(sentence.find("pw"), std::string::npos);
    }
    for (const auto& line : log.lines) EXPECT_EQ(line.find("pw"), std::string::npos) << line;
}

TEST_F(CloudTest, AServerThatHangsIsGivenUpAndForgottenWithTheContainer) {
    const HostileServer server([&](const std::string& request, const auto& peer) {
        const auto whole = goodAnswer(request);
        peer.send(whole.substr(0, whole.size() / 2));
        peer.hang();
    });
    account = accountAt(server.address());
    Fetch fetch;
    container->addOperation(operation(fetch, std::nullopt));
    bool wasAnswered = false;
    container->saveRecordZone({{.zoneName = "ClipboardHistory"}}, [&](const auto&) { wasAnswered = true; });
    serveUntil([&] { return server.requests().size() == 2; });
    container.reset();
    serveUntil([&] { return server.openConnections() == 0; });
    EXPECT_FALSE(fetch.hasEnded || wasAnswered);
}

TEST_F(CloudTest, WhatIsTooLargeIsLeftOutAndTheRestGoesOn) {
    const std::string huge(FeedSplitter::largestRow, 'x');
    const std::string large(FeedSplitter::largestRow - 200, 'y');
    const HostileServer server([&](const std::string&, const auto& peer) {
        peer.send(answer(R"({"results":[{"seq":1,"id":"huge","doc":{"_id":"huge","text":")" + huge +
                         R"("}},{"seq":2,"id":"large","doc":{"_id":"large","text":")" + large +
                         R"("}},{"seq":3,"id":"picture","doc":{"_id":"picture","_attachments":{"imageData":)"
                         R"({"length":134217729}}}},{"seq":4,"id":"_design/x","doc":{}},)"
                         R"({"seq":5,"id":"odd","doc":{"a":01}},{"seq":6,"id":"small","doc":{"text":"z"}}],)"
                         R"("last_seq":6})"));
    });
    account = accountAt(server.address());
    const auto result = fetch();
    EXPECT_EQ(result.error, "");
    ASSERT_EQ(result.records.size(), 2U);
    EXPECT_EQ(*result.records[0].value<std::string>("text"), large);
    EXPECT_EQ(result.records[1].recordID.recordName, "small");
    EXPECT_EQ(result.failed, std::vector<std::string>{"picture"});
    EXPECT_EQ(placeOf(*result.token), "6");
    EXPECT_EQ(log.count("left out"), 3U);
}

TEST_F(CloudTest, PagesGoOnToTheEndAndNeverForEver) {
    std::string pending;
    int pages = 0;
    const HostileServer server([&](const std::string& request, const auto& peer) {
        const auto path = pathOf(request);
        const auto since = path.find("&since=");
        const int begin = since == std::string::npos ? 0 : std::atoi(path.c_str() + since + 7);
        ++pages;
        std::string rows;
        const int end = std::min(begin + 500, 1234);
        for (int number = begin + 1; number <= end; ++number) {
            rows += (rows.empty() ? "" : ",") + std::string("{\"seq\":") + std::to_string(number) +
                    R"(,"id":"r)" + std::to_string(number) + R"(","doc":{"text":"t"}})";
        }
        peer.send(answer(R"({"last_seq":")" + std::to_string(end) + "-a+b/\"" + pending + R"(,"results":[)" +
                         rows + "]}"));
    });
    account = accountAt(server.address());
    // Without a word of what is pending, with one, and with one that never ends.
    for (const auto* each : {"", ",\"pending\":1", ",\"pending\":999999999999"}) {
        pending = each;
        pages = 0;
        const auto result = fetch();
        EXPECT_EQ(result.records.size(), 1234U) << each;
        EXPECT_LE(pages, 4);
        EXPECT_EQ(placeOf(*result.token), "\"1234-a+b/\"");
    }
    EXPECT_NE(server.requests().back().find("since=1234-a%2Bb%2F"), std::string::npos);
    const auto result = fetch(CKServerChangeToken{Data(server.address() + "\n\"1200-a\"")});
    EXPECT_EQ(result.records.size(), 34U);
    const auto strange =
        fetch(CKServerChangeToken{Data(std::string_view("https://other.example\n\"1200-a\""))});
    EXPECT_EQ(strange.records.size(), 1234U) << "a place in another server's feed is none in this one's";
}

TEST_F(CloudTest, OfManyPicturesTheNewestAreFetched) {
    const HostileServer server([&](const std::string& request, const auto& peer) {
        if (pathOf(request).find("imageData") != std::string::npos) return void(peer.send(answer("x")));
        std::string rows;
        for (int number = 0; number < 250; ++number) {
            const auto name = std::to_string(number);
            rows += (rows.empty() ? "" : ",") + std::string(R"({"id":")") + name + R"(","doc":{"_rev":"1-)" +
                    name + R"(","_attachments":{"imageData":{"length":1}}}})";
        }
        peer.send(answer(R"({"results":[)" + rows + R"(],"last_seq":1})"));
    });
    account = accountAt(server.address());
    {
        const auto result = fetch();
        EXPECT_EQ(result.failed.size(), 50U);
        EXPECT_EQ(result.failed.back(), "49");
        ASSERT_EQ(result.records.size(), 200U);
        EXPECT_EQ(assetFiles(), 200U);
        const auto path = result.records[0].value<CKAsset>("imageData")->fileURL->path();
        struct stat facts {};
        ASSERT_EQ(::stat(path.c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, 0600U);
        ASSERT_EQ(::stat(assetFolder.c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 07777, 0700U);
    }
    EXPECT_EQ(assetFiles(), 0U) << "a file goes with the last record that has it";

    // A kill leaves files, and the next start removes them and nothing else.
    std::ofstream(assetFolder + "/asset-1") << "x";
    std::ofstream(assetFolder + "/of-somebody-else") << "x";
    container->removeLeftovers();
    EXPECT_EQ(assetFiles(), 1U);
    // Where no file can be made the fetch says so.
    std::filesystem::remove_all(folder.path() + "/cache");
    std::ofstream(folder.path() + "/cache") << "x";
    EXPECT_EQ(fetch().error, localized("cloud.cannotKeepFile", assetFolder));
}

TEST_F(CloudTest, NothingTakesLongInATurn) {
    std::string feed = R"({"results":[)";
    for (int number = 0; number < 10'000; ++number) {
        feed += (number ? "," : "") + std::string(R"({"seq":)") + std::to_string(number) + R"(,"id":"r)" +
                std::to_string(number) +
                R"(","doc":{"kind":"text","createdAt":"2026-11-23T10:00:00Z","text":")" +
                std::string(1000, 'x') + "\"}}";
    }
    feed += R"(],"last_seq":9,"pending":0})";
    const auto whole = answer(feed);
    const HostileServer server([&](const std::string&, const auto& peer) { peer.send(whole); });
    account = accountAt(server.address());
    Fetch result;
    container->addOperation(operation(result, std::nullopt));
    double longest = 0, before = 0;
    int turns = 0;
    std::size_t told = 0, mostTold = 0;
    // Asked before and after each turn, of which most sleep: the processor's time is what a turn takes.
    loop.runUntil([&] {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        const double now = static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
        if (turns++ > 2) longest = std::max(longest, now - before);
        before = now;
        mostTold = std::max(mostTold, result.records.size() - told);
        told = result.records.size();
        return result.hasEnded;
    });
    EXPECT_EQ(result.records.size(), 10'000U);
    RecordProperty("longest_turn_microseconds", static_cast<int>(longest * 1e6));
    RecordProperty("turns", turns);
    EXPECT_GT(turns, 50);
    EXPECT_LT(mostTold, 5'000U);
    // Ten times what was measured, as other tests run beside it.
    EXPECT_LT(longest, 0.02);
}

TEST(CouchChangeTest, ValuesHaveTheTypesOfTheirJson) {
    const auto change = CouchChange::read(viewOf(
        R"({"seq":[1,"x"],"id":"a","changes":[],"extra":{"deep":[{}]},"doc":{"_id":"a","_rev":"3-z",)"
        R"("text":"t\u00e9","pinned":1,"locked":true,"n":-9223372036854775808,"big":9223372036854775808,)"
        R"("d":1.0,"e":1e400,"none":null,"list":[1],"object":{},"createdAt":"2026-11-23T10:00:00.5+01:00",)"
        R"("fileURL":"2026-11-23T10:00:00Z","imageData":"no asset","_attachments":{"other":{"length":3},)"
        R"("imageData":{"content_type":"image\/png","length":12,"stub":true}}}})"));
    ASSERT_TRUE(change && change->record);
    const auto& record = *change->record;
    EXPECT_EQ(change->sequence, "");
    EXPECT_EQ(*record.value<std::string>("text"), "té");
    EXPECT_EQ(*record.value<std::int64_t>("pinned"), 1);
    EXPECT_TRUE(*record.value<bool>("locked"));
    EXPECT_EQ(*record.value<std::int64_t>("n"), INT64_MIN);
    EXPECT_EQ(*record.value<double>("big"), 9223372036854775808.0);
    EXPECT_EQ(*record.value<double>("d"), 1.0);
    EXPECT_EQ(record.value<Date>("createdAt")->unixSeconds(), 1795424400.5);
    EXPECT_EQ(record.values.size(), 9U);
    EXPECT_EQ(change->picture->size, 12U);
    EXPECT_EQ(change->picture->revision, "3-z");

    std::string many = R"({"id":"a","doc":{)";
    for (int i = 0; i < 65; ++i) many += (i ? ",\"" : "\"") + std::to_string(i) + "\":1";
    EXPECT_FALSE(CouchChange::read(viewOf(many + "}}")));
    for (const auto* bad : {"{}", "[]", R"({"id":1})", R"({"id":""})", R"({"id":"a"} x)", R"({"id":"a")"})
        EXPECT_FALSE(CouchChange::read(viewOf(bad))) << bad;
}

TEST(DateTest, MomentsOfRFC3339AreRead) {
    const std::pair<const char*, double> good[] = {
        {"1970-01-01T00:00:00Z", 0},
        {"2026-11-23t10:00:00z", 1795428000},
        {"2026-11-23 10:00:00-02:30", 1795437000},
        {"2024-02-29T23:59:60Z", 1709251199},
        {"1985-04-12T23:20:50.52Z", 482196050.52},
    };
    for (const auto& [text, seconds] : good) {
        const auto date = Date::fromRFC3339(text);
        ASSERT_TRUE(date) << text;
        EXPECT_NEAR(date->unixSeconds(), seconds, 1e-6) << text;
    }
    for (const auto* bad : {"", "2026-11-23", "2026-11-23T10:00:00", "2025-02-29T10:00:00Z",
                            "2026-11-23T24:00:00Z", "2026-11-23T10:00:00.Z", "2026-11-23T10:00:00Z ",
                            "2026-11-23T10:00:00+0100", "+026-11-23T10:00:00Z", "2026-11-23T10:60:00Z"})
        EXPECT_FALSE(Date::fromRFC3339(bad)) << bad;
}

TEST(CodeValidityTest, OnlyWhatNobodyElseCanChangeIsValid) {
    EXPECT_TRUE(isOwnCodeValid());
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
    const TemporaryFolder folder;
    const auto inner = folder.path() + "/inner";
    const auto program = inner + "/program";
    constexpr gid_t shared = 100;
    const std::function<void()> faults[] = {
        [&] { ::chmod(program.c_str(), 0757); },
        [&] { ::chmod(inner.c_str(), 0777); },
        [&] { ::chmod(folder.path().c_str(), 0707); },
        [&] { EXPECT_EQ(::chown(program.c_str(), 65534, 0), 0); },
        [&] {
            EXPECT_EQ(::chown(inner.c_str(), 0, shared), 0);
            ::chmod(inner.c_str(), 0775);
        },
        [&] {
            std::filesystem::rename(program, program + "2");
            std::filesystem::create_symlink("program2", program);
        },
    };
    for (const auto& fault : faults) {
        std::filesystem::remove_all(inner);
        std::filesystem::create_directory(inner);
        std::ofstream(program) << "x";
        for (const auto& path : {inner, program}) ::chmod(path.c_str(), 0755);
        ::chmod(folder.path().c_str(), 0700);
        // That folder lies in one that is writable by all and has the sticky bit.
        ASSERT_TRUE(isBeyondReachOfOthers(program));
        fault();
        EXPECT_FALSE(isBeyondReachOfOthers(program)) << &fault - faults;
    }
}

}  // namespace
}  // namespace vellumix::linux_desktop
