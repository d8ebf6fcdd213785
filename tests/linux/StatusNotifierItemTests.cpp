#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

#include "linux/FakeTray.h"
#include "platform/foundation/text/MissingResources.h"
#include "platform/linux/tray/StatusNotifierItem.h"

namespace vellumix::linux_desktop {
namespace {

std::string printed(const glib::Variant& value) {
    return value ? glib::Text(g_variant_print(value.get(), FALSE)).get() : "refused";
}

class StatusNotifierItemTest : public testing::Test {
protected:
    StatusNotifierItemTest() {
        item->setImage("scissors", "Vellumix");
        item->setMenu({{.title = "Snip_It", .isEnabled = false, .action = [this] { ++choices; }},
                       StatusMenuEntry::separator(),
                       {.title = "Quit", .action = [this] { ++choices; }}});
    }

    std::string itemName() const { return "org.kde.StatusNotifierItem-" + std::to_string(getpid()) + "-1"; }
    /// Serves the main loop until the item has its name.
    bool untilOnTheBus() {
        const auto deadline = Deadline::in(10);
        const auto look = loop.repeatingTimer(0.005, [] {});
        bool isThere = false;
        loop.runUntil([&] {
            const auto reply =
                session.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                             "NameHasOwner", g_variant_new("(s)", itemName().c_str()));
            isThere = printed(reply) == "(true,)";
            return isThere || deadline.hasPassed();
        });
        return isThere;
    }
    static GVariant* clicked(int id, const char* event = "clicked") {
        return g_variant_new("(isvu)", id, event, g_variant_new_int32(0), 0);
    }

    PrivateSession session;
    GLibRunLoop loop;
    std::unique_ptr<StatusNotifierItem> item = std::make_unique<StatusNotifierItem>(loop);
    int choices = 0;
};

TEST_F(StatusNotifierItemTest, TellsAHostWhatToShow) {
    FakeTray tray(loop);
    ASSERT_TRUE(tray.untilRegistered());
    EXPECT_EQ(tray.registered, std::vector{itemName()});
    const struct {
        const char* name;
        const char* value;
    } cases[] = {
        {"Category", "'ApplicationStatus'"},
        {"Id", "'vellumix'"},
        {"Title", "'Vellumix'"},
        {"Status", "'Active'"},
        {"ItemIsMenu", "true"},
        {"IconName", "''"},
        {"OverlayIconPixmap", "[]"},
        {"ToolTip", "('', [], 'Vellumix', '')"},
    };
    for (const auto& each : cases) EXPECT_EQ(printed(tray.property(each.name)), each.value) << each.name;
    EXPECT_FALSE(tray.property("Colour"));

    const auto all = tray.call("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "GetAll",
                               g_variant_new("(s)", "org.kde.StatusNotifierItem"));
    EXPECT_TRUE(all);

    const auto icons = tray.property("IconPixmap");
    ASSERT_TRUE(icons);
    std::vector<int> widths;
    for (gsize each = 0; each < g_variant_n_children(icons.get()); ++each) {
        gint32 width = 0, height = 0;
        GVariant* bytes = nullptr;
        g_variant_get_child(icons.get(), each, "(ii@ay)", &width, &height, &bytes);
        const glib::Variant pixels(bytes);
        EXPECT_EQ(g_variant_get_size(pixels.get()), static_cast<gsize>(width * height * 4));
        widths.push_back(width);
        // Light strokes on a dark ground, which has round corners.
        const auto* argb = static_cast<const guint8*>(g_variant_get_data(pixels.get()));
        int lightPixels = 0, darkPixels = 0;
        for (int pixel = 0; pixel < width * height; ++pixel) {
            if (argb[pixel * 4] < 150) continue;
            (argb[pixel * 4 + 1] > 128 ? lightPixels : darkPixels)++;
        }
        EXPECT_GT(lightPixels, width * height / 20) << width;
        EXPECT_GT(darkPixels, width * height / 20) << width;
        EXPECT_EQ(argb[0], 0) << width;
    }
    EXPECT_EQ(widths, (std::vector{16, 22, 24, 32, 48}));

    item->setImage("no.such.symbol", "Vellumix");
    EXPECT_EQ(printed(tray.property("IconPixmap")), "[]");
    EXPECT_EQ(takeMissing(), std::vector<std::string>{"symbol no.such.symbol"});
}

TEST_F(StatusNotifierItemTest, TheMenuIsARealOne) {
    FakeTray tray(loop);
    ASSERT_TRUE(tray.untilRegistered());
    const struct {
        const char* method;
        const char* arguments;
        const char* answer;
    } cases[] = {
        {"GetLayout", "(0, -1, @as [])",
         "(2, (0, {'children-display': <'submenu'>}, [<(1, {'label': <'Snip__It'>, 'enabled': <false>}, @av "
         "[])>, <(2, {'type': <'separator'>}, @av [])>, <(3, {'label': <'Quit'>, 'enabled': <true>}, @av "
         "[])>]))"},
        {"GetLayout", "(0, 1, ['label'])",
         "(2, (0, {}, [<(1, {'label': <'Snip__It'>}, @av [])>, <(2, @a{sv} {}, @av [])>, <(3, {'label': "
         "<'Quit'>}, @av [])>]))"},
        {"GetLayout", "(0, 0, @as [])", "(2, (0, {'children-display': <'submenu'>}, []))"},
        {"GetLayout", "(3, -1, ['label'])", "(2, (3, {'label': <'Quit'>}, []))"},
        {"GetLayout", "(4, -1, @as [])", "refused"},
        {"GetGroupProperties", "([3, 7], @as [])", "([(3, {'label': <'Quit'>, 'enabled': <true>})],)"},
        {"GetGroupProperties", "(@ai [], ['type'])",
         "([(0, {}), (1, {}), (2, {'type': <'separator'>}), (3, {})],)"},
        {"GetProperty", "(3, 'label')", "(<'Quit'>,)"},
        {"GetProperty", "(3, 'colour')", "refused"},
        {"GetProperty", "(-1, 'label')", "refused"},
        {"AboutToShow", "(0,)", "(false,)"},
        {"AboutToShow", "(9,)", "refused"},
        {"AboutToShowGroup", "([0, 3, 9],)", "([], [9])"},
        {"Event", "(9, 'clicked', <0>, uint32 0)", "refused"},
        {"EventGroup", "([(3, 'hovered', <0>, uint32 0), (9, 'clicked', <0>, uint32 0)],)", "([9],)"},
        {"EventGroup", "([(9, 'clicked', <0>, uint32 0)],)", "refused"},
        {"EventGroup", "(@a(isvu) [],)", "([],)"},
    };
    for (const auto& each : cases) {
        const auto answer = printed(tray.menuCall(each.method, g_variant_new_parsed(each.arguments)));
        // An empty collection is printed with its type where nothing else tells it.
        std::string bare = answer;
        for (const auto* type : {"@av ", "@a{sv} ", "@ai ", "@a(ia{sv}) ", "uint32 "}) {
            for (auto at = bare.find(type); at != std::string::npos; at = bare.find(type))
                bare.erase(at, std::string_view(type).size());
        }
        std::string expected = each.answer;
        for (const auto* type : {"@av ", "@a{sv} "}) {
            for (auto at = expected.find(type); at != std::string::npos; at = expected.find(type))
                expected.erase(at, std::string_view(type).size());
        }
        EXPECT_EQ(bare, expected) << each.method << each.arguments;
    }
    const std::vector<gint32> many(10'000, 3);
    EXPECT_FALSE(
        tray.menuCall("AboutToShowGroup",
                      g_variant_new("(@ai)", g_variant_new_fixed_array(G_VARIANT_TYPE_INT32, many.data(),
                                                                       many.size(), sizeof(gint32)))))
        << "larger than any honest call";
    EXPECT_EQ(choices, 0);

    EXPECT_TRUE(tray.menuCall("Event", clicked(1)));
    EXPECT_EQ(choices, 0) << "the line is disabled";
    EXPECT_TRUE(tray.menuCall("Event", clicked(3, "hovered")));
    EXPECT_EQ(choices, 0) << "the pointer only passed over it";
    EXPECT_TRUE(tray.menuCall("Event", clicked(3)));
    EXPECT_EQ(choices, 1);
    EXPECT_TRUE(tray.menuCall(
        "EventGroup",
        g_variant_new_parsed("([(3, 'clicked', <0>, uint32 0), (9, 'clicked', <0>, uint32 0)],)")));
    EXPECT_EQ(choices, 2);
}

TEST_F(StatusNotifierItemTest, ChangesAreSeenAtOnce) {
    FakeTray tray(loop);
    ASSERT_TRUE(tray.untilRegistered());
    const auto seen = [&](const std::string& signal) {
        return tray.until([&] { return std::ranges::find(tray.signals, signal) != tray.signals.end(); });
    };
    item->setMenu({{.title = "Other", .action = [this] { choices += 10; }}});
    EXPECT_TRUE(seen("/StatusNotifierItem/Menu LayoutUpdated"));
    EXPECT_FALSE(tray.menuCall("Event", clicked(3))) << "a click on the menu that was";
    EXPECT_TRUE(tray.menuCall("Event", clicked(4)));
    EXPECT_EQ(choices, 10);

    item->setImage("scissors", "Tesoura");
    EXPECT_TRUE(seen("/StatusNotifierItem NewTitle"));
    EXPECT_TRUE(seen("/StatusNotifierItem NewToolTip"));
    EXPECT_EQ(printed(tray.property("Title")), "'Tesoura'");

    const auto activate = [&](const char* method) {
        return tray.call("/StatusNotifierItem", "org.kde.StatusNotifierItem", method,
                         g_variant_new("(ii)", 4, 5));
    };
    EXPECT_FALSE(activate("Activate")) << "so that the host shows the menu";
    item->setAction([this] { choices += 100; });
    EXPECT_TRUE(seen("/StatusNotifierItem PropertiesChanged"));
    EXPECT_EQ(printed(tray.property("ItemIsMenu")), "false");
    EXPECT_TRUE(activate("Activate"));
    EXPECT_EQ(choices, 110);
    EXPECT_TRUE(activate("SecondaryActivate"));
    EXPECT_TRUE(tray.call("/StatusNotifierItem", "org.kde.StatusNotifierItem", "Scroll",
                          g_variant_new("(is)", 1, "vertical")));
    EXPECT_EQ(choices, 110);
}

TEST_F(StatusNotifierItemTest, WatchersComeAndGo) {
    ASSERT_TRUE(untilOnTheBus()) << "before anybody watches";
    for (int round = 0; round < 3; ++round) {
        std::optional<FakeTray> tray;
        tray.emplace(loop);
        ASSERT_TRUE(tray->untilRegistered()) << round;
        EXPECT_EQ(tray->registered, std::vector{itemName()});
        EXPECT_TRUE(tray->menuCall("Event", clicked(3))) << round;
        tray.reset();
        EXPECT_TRUE(session.waitForName("org.kde.StatusNotifierWatcher", false));
    }
    EXPECT_EQ(choices, 3);
}

TEST_F(StatusNotifierItemTest, AWatcherThatComesAndGoesWithoutEndIsToldNowAndThen) {
    ASSERT_TRUE(untilOnTheBus());
    const auto call = [&](const char* method, GVariant* arguments) {
        session.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
                     arguments);
    };
    constexpr auto name = "org.kde.StatusNotifierWatcher";
    for (int change = 0; change < 200; ++change) {
        call("RequestName", g_variant_new("(su)", name, doNotQueue));
        call("ReleaseName", g_variant_new("(s)", name));
    }
    FakeTray tray(loop);
    ASSERT_TRUE(tray.untilRegistered());
    EXPECT_TRUE(tray.property("Title")) << "which is answered behind all that was due";
    EXPECT_LT(tray.registered.size(), 20U);
}

TEST_F(StatusNotifierItemTest, AClickThatEndsTheItemIsAnswered) {
    FakeTray tray(loop);
    ASSERT_TRUE(tray.untilRegistered());
    item->setMenu({{.title = "Quit", .action = [this] { item.reset(); }}});
    EXPECT_TRUE(tray.menuCall("Event", clicked(4)));
    EXPECT_FALSE(item);
    EXPECT_TRUE(session.waitForName(itemName().c_str(), false));
}

TEST_F(StatusNotifierItemTest, LosingTheBusEndsNothing) {
    {
        FakeTray tray(loop);
        ASSERT_TRUE(tray.untilRegistered());
        session.endBus();
        EXPECT_TRUE(tray.until([&] { return tray.hasLostTheBus(); }));
    }
    item->setMenu({{.title = "Still here"}});
    item->setImage("scissors", "Still here");
    item->setAction([] {});
}

TEST(StatusNotifierItemWithoutBus, IsSilent) {
    PrivateSession session(PrivateSession::Bus::absent);
    GLibRunLoop loop;
    for (const char* address : {static_cast<const char*>(nullptr), "unix:path=/nonexistent/bus"}) {
        const ScopedVariable bus("DBUS_SESSION_BUS_ADDRESS", address);
        StatusNotifierItem item(loop);
        item.setImage("scissors", "Vellumix");
        item.setMenu({{.title = "Quit"}});
        bool isPast = false;
        loop.postAfter(0.02, [&] { isPast = true; });
        loop.runUntil([&] { return isPast; });
    }
}

}  // namespace
}  // namespace vellumix::linux_desktop
