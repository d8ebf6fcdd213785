#include "shell/AppDelegate.h"
#include "shell/StatusReport.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

constexpr auto deviceIdKey = "com.tarnwick.Vellumix.deviceId";

class ServiceMessagesTest : public HeadlessTest {
protected:
    /// The text of a member, or "-".
    std::string sent(const char* member) {
        const auto message = JsonValue::parse(asText(desktop.urlSession.requests.back().HTTPBody));
        const auto* const value = message ? (*message)[member] : nullptr;
        const auto* const text = value ? std::get_if<std::string>(&value->value) : nullptr;
        return text ? *text : "-";
    }
    static NSBundle& bundle() { return platform::current().mainBundle; }
};

TEST_F(ServiceMessagesTest, ALaunchIsToldOnceWithEveryField) {
    bundle().infoDictionary = {{"CFBundleShortVersionString", std::string("2.1")},
                               {"CFBundleVersion", std::string("20100")},
                               {"VLXServiceURL", std::string("https://example.org/api")}};
    desktop.processInfo.systemVersion = "Some \"System\" 3";
    desktop.processInfo.locale = {"pt", "BR"};
    std::string id;
    for (int launch = 0; launch < 2; ++launch) {
        AppDelegate application;
        EXPECT_TRUE(desktop.urlSession.requests.empty());
        application.applicationDidFinishLaunching();
        desktop.runLoop.advance(1);
        ASSERT_EQ(desktop.urlSession.requests.size(), 1U);
        const auto& request = desktop.urlSession.requests.back();
        EXPECT_EQ(request.url.absoluteString(), "https://example.org/api/v1/telemetry");
        EXPECT_EQ(request.HTTPMethod, "POST");
        EXPECT_EQ(request.headers, (decltype(request.headers){{"Content-Type", "application/json"}}));
        EXPECT_EQ(request.timeoutInterval, 60);
        EXPECT_FALSE(request.credential);
        const auto text = asText(request.HTTPBody);
        EXPECT_NE(text.find(R"("metadata":{})"), std::string::npos) << text;
        EXPECT_EQ(std::get<JsonValue::Object>(JsonValue::parse(text)->value).size(), 7U) << text;
        EXPECT_EQ(sent("event"), "app_open");
        EXPECT_EQ(sent("osVersion"), "Some \"System\" 3");
        EXPECT_EQ(sent("appVersion"), "2.1 (20100)");
        EXPECT_EQ(sent("language") + sent("country"), "ptBR");
        EXPECT_TRUE(launch == 0 || sent("deviceId") == id) << "the same at the second launch";
        id = sent("deviceId");
        EXPECT_TRUE(UUID::parse(id) && UUID::parse(id)->uuidString() == id) << id;
        EXPECT_EQ(desktop.urlSession.underWay, 0) << "what has failed is over";
        desktop.urlSession.requests.clear();
    }
    EXPECT_EQ(UserDefaults::standard().value<std::string>(deviceIdKey), id);
    EXPECT_FALSE(desktop.log.contains("elemetry")) << "no failure is told";
    EXPECT_TRUE(desktop.notifications.bodies.empty());
}

TEST_F(ServiceMessagesTest, AnAddressAnIdAndALocaleInEveryForm) {
    const std::pair<const char*, const char*> addresses[] = {
        {"https://example.org/api", "https://example.org/api/v1/telemetry"},
        {"https://example.org/api/", "https://example.org/api/v1/telemetry"},
        {"https://example.org", "https://example.org/v1/telemetry"},
    };
    UserDefaults::standard().set(deviceIdKey, "no uuid");
    for (const auto& [base, whole] : addresses) {
        TelemetryReporter reporter(*URL::parse(base));
        EXPECT_TRUE(reporter.apiURL.absoluteString().ends_with('/'));
        reporter.send("an event", {{"n", JsonValue{JsonValue::Number{"1"}}}});
        EXPECT_EQ(desktop.urlSession.requests.back().url.absoluteString(), whole);
        EXPECT_EQ(sent("deviceId"), "no uuid");
        EXPECT_EQ(sent("language") + sent("country"), "enUS") << "of a locale that has none";
        EXPECT_EQ(sent("appVersion"), "1.0 (1)") << "of a build that says nothing";
        EXPECT_NE(asText(desktop.urlSession.requests.back().HTTPBody).find(R"("metadata":{"n":1})"),
                  std::string::npos);
        reporter.send("not UTF-8: \xFF", {});
        EXPECT_EQ(desktop.urlSession.requests.size(), 2U);
        EXPECT_TRUE(desktop.urlSession.requests.back().HTTPBody.empty()) << "it goes without a body";
        desktop.urlSession.requests.clear();
    }
    EXPECT_EQ(desktop.urlSession.underWay, 0) << "none outlives its reporter";
    EXPECT_EQ(UserDefaults::standard().value<std::string>(deviceIdKey), "no uuid");
    {
        // The first message of a build without an address goes where nothing is.
        AppDelegate application;
        EXPECT_EQ(application.telemetry().apiURL.absoluteString(), "https://vellumix.invalid/api/");
    }
}

TEST_F(ServiceMessagesTest, WhoAsksNotToBeTrackedIsNot) {
    const std::pair<const char*, std::size_t> values[] = {
        {"1", 0}, {"true", 0}, {"no", 0}, {"0", 1}, {"", 1}};
    for (const auto& [value, messages] : values) {
        desktop.processInfo.variables["DO_NOT_TRACK"] = value;
        TelemetryReporter(*URL::parse("https://example.org/api")).send("app_open", {});
        EXPECT_EQ(std::exchange(desktop.urlSession.requests, {}).size(), messages) << value;
    }
}

TEST_F(ServiceMessagesTest, TheUpdaterStartsOnlyWithAKeyAndAFeed) {
    const PropertyValue feed = std::string("https://example.org/feed.xml"), key = std::string("c2VjcmV0");
    const std::tuple<std::optional<PropertyValue>, std::optional<PropertyValue>, bool> cases[] = {
        {key, feed, true},
        {std::nullopt, feed, false},
        {true, feed, false},
        {std::string(), feed, false},
        {std::string("REPLACE_WITH_KEY"), feed, false},
        {std::string("replace"), feed, true},
        {key, std::nullopt, false},
        {key, 1.0, false},
        {key, std::string(), false},
        {key, std::string("no address"), false},
    };
    AppDelegate application;
    EXPECT_EQ(desktop.updates.made, 1);
    auto& updater = application.updater();
    int expected = 0;
    for (const auto& [givenKey, givenFeed, isConfigured] : cases) {
        auto& values = bundle().infoDictionary = {};
        if (givenKey) values["SUPublicEDKey"] = *givenKey;
        if (givenFeed) values["SUFeedURL"] = *givenFeed;
        EXPECT_EQ(updater.isConfigured(), isConfigured);
        EXPECT_EQ(statusReport(application).find("not configured") == std::string::npos, isConfigured);
        updater.start();
        updater.checkForUpdates();
        expected += isConfigured ? 1 : 0;
        EXPECT_EQ(desktop.updates.started, expected);
        EXPECT_EQ(desktop.updates.checks, expected);
    }
    bundle().infoDictionary = {{"SUPublicEDKey", key}, {"SUFeedURL", feed}};
    application.applicationDidFinishLaunching();
    EXPECT_EQ(desktop.updates.started, expected + 1) << "the launch starts it";
    bundle().infoDictionary = {{"CFBundleShortVersionString", 3.0}, {"CFBundleVersion", std::string("7")}};
    EXPECT_EQ(appVersionText(bundle()), "1.0 (7)");
}

}  // namespace
}  // namespace vellumix
