#include "platform/foundation/files/UserDefaults.h"
#include "platform/foundation/loop/Task.h"
#include "platform/foundation/memory/Cache.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/observation/Published.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

class ServicesTest : public HeadlessTest {
protected:
    static constexpr const char* settings = "/home/user/.config/Vellumix/settings.plist";
};

// Observation: each rule once broke a program somewhere.

TEST(Observers, MayEndThemselvesEachOtherAndTheirSource) {
    auto source = std::make_unique<Published<int>>(1);
    std::string calls;
    Observation first;
    Observation second;
    Observation late;
    first = source->observe([&] {
        calls += 'a';
        second.cancel();
        if (calls.size() == 1) late = source->observe([&] { calls += 'c'; });
        first.cancel();
    });
    second = source->observe([&] { calls += 'b'; });
    source->set(2);
    EXPECT_EQ(calls, "a") << "the one that ended isn't called, the new one waits";
    source->update([](int& value) { ++value; });
    EXPECT_EQ(calls, "ac");
    EXPECT_EQ(source->get(), 3);

    const auto fatal = source->observe([&] { source.reset(); });
    source->set(4);
    EXPECT_FALSE(source);
    EXPECT_EQ(calls, "acc");
    late.cancel();
}

TEST_F(ServicesTest, NotificationsReachThoseWhoAskedByName) {
    auto& center = NotificationCenter::defaultCenter();
    std::string got;
    {
        const auto observation = center.observe("a", [&](const auto& info) {
            got += info.at("key");
            center.post("b");
        });
        const auto other = center.observe("b", [&](const auto&) { got += '!'; });
        center.post("a", {{"key", "value"}});
    }
    center.post("a", {{"key", "again"}});
    EXPECT_EQ(got, "value!");
}

Task convert(std::string& order) {
    order += "begun ";
    const auto result = co_await inBackground([] { return 42; });
    order += std::to_string(result);
}

TEST_F(ServicesTest, ATaskLeavesTheMainThreadAndComesBack) {
    std::string order;
    convert(order);
    order += "left ";
    desktop.runLoop.settle();
    EXPECT_EQ(order, "begun left 42");
}

TEST_F(ServicesTest, VirtualTimeGoesAsFarAsItIsTold) {
    std::string order;
    auto& loop = desktop.runLoop;
    onMainAfter(2, [&] { order += "b"; });
    onMainAfter(1, [&] { order += "a"; });
    onMainAfter(2.1, [&] { order += "x"; });
    loop.advance(2);
    EXPECT_EQ(order, "ab");
    int fired = 0;
    const auto timer = loop.repeatingTimer(1, [&] { ++fired; });
    loop.advance(10);
    EXPECT_EQ(fired, 10);
}

// The user defaults.

TEST_F(ServicesTest, SettingsOfEveryTypeSurvive) {
    auto& defaults = UserDefaults::standard();
    const std::map<std::string, PropertyValue> values{
        {"flag", false},
        {"number", 520.5},
        {"text", std::string("a <b> & ä\n")},
        {"data", Data(std::string_view("\0\xff", 2))},
        {"date", Date{800000000}},
        {"strings", std::vector<std::string>{"b", "", "ä"}},
        {"none", std::vector<std::string>{}},
    };
    for (const auto& [key, value] : values) defaults.set(key, value);
    desktop.runLoop.advance(1);
    UserDefaults read(desktop.files, settings);
    for (const auto& [key, value] : values) EXPECT_EQ(read.object(key), value) << key;
    EXPECT_FALSE(read.object("absent"));
    EXPECT_FALSE(read.value<bool>("text")) << "another type is as good as absent";
    EXPECT_EQ(read.value<bool>("flag"), false) << "false is told from absent";
    read.remove("flag");
    read.synchronize();
    EXPECT_FALSE(UserDefaults(desktop.files, settings).object("flag"));
}

TEST_F(ServicesTest, ASettingsFileThatCannotBeReadIsKeptAside) {
    const std::string begin = "<?xml version=\"1.0\"?><plist><dict><key>a</key>";
    const auto times = [](int count, const std::string& part) {
        std::string text;
        for (int number = 0; number < count; ++number) text += part;
        return text;
    };
    const std::string cases[] = {
        "",
        begin,
        "bplist00garbage",
        "{ a = 1; }",
        "<?xml version=\"1.0\"?><plist><array/></plist>",
        // What the library would end the program over, keep it waiting for, or take its memory with.
        begin + times(60'000, "<array>") + times(60'000, "</array>") + "</dict></plist>",
        begin + times(29'000, "<dict><key>b</key>") + "<true/>" + times(29'000, "</dict>") +
            "</dict></plist>",
        begin + "<string>" + times(200'000, "&amp;") + "</string></dict></plist>",
        begin + "<string>" + std::string(1 << 20, 'x') + "</string></dict></plist>",
    };
    for (const auto& torn : cases) {
        SCOPED_TRACE(torn.substr(0, 100));
        desktop.files.files.clear();
        desktop.files.makeFolder(folderOf(settings));
        desktop.files.files[settings] = Bytes(torn.begin(), torn.end());
        UserDefaults defaults(desktop.files, settings);
        defaults.set("a", true);
        defaults.synchronize();
        EXPECT_EQ(UserDefaults(desktop.files, settings).value<bool>("a"), true);
        EXPECT_EQ(desktop.files.files.size(), 2U);
        EXPECT_EQ(asText(desktop.files.files.rbegin()->second), torn) << desktop.files.files.rbegin()->first;
    }
}

TEST(Cache, DropsTheLeastRecentlyUsed) {
    NSCache<int> cache(3, 100);
    const auto put = [&](const char* key, std::size_t cost) {
        cache.setObject(std::make_shared<int>(1), key, cost);
    };
    const auto has = [&](const char* key) { return cache.objectForKey(key) != nullptr; };
    put("a", 10);
    put("b", 10);
    put("c", 10);
    EXPECT_TRUE(has("a"));
    put("d", 10);
    EXPECT_FALSE(has("b")) << "over the count";
    put("e", 85);
    EXPECT_FALSE(has("c") || has("a")) << "over the cost";
    EXPECT_TRUE(has("d") && has("e"));
    put("f", 101);
    EXPECT_FALSE(has("f"));
    cache.removeObjectForKey("e");
    cache.removeObjectForKey("e");
    EXPECT_FALSE(has("e"));
}

}  // namespace
}  // namespace vellumix
