#include "core/cleaning/AutoCleanScheduler.h"

#include "core/capture/ExclusionSettings.h"
#include "core/history/Store.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/foundation/text/MissingResources.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using DueModes = AutoCleanScheduler::DueModes;

class AutoCleanTest : public HeadlessTest {
protected:
    AutoCleanTest() {
        observation = NotificationCenter::defaultCenter().observe(
            AutoCleanScheduler::historyCleanedNotification, [this](const auto&) { ++cleaned; });
        for (const auto* text : {"plain", "pinned", "locked"}) store.add(textItem(text));
        store.togglePin(store.items().get()[1]);
        store.setLocked(store.items().get()[0], true);
    }

    void start(std::set<AutoCleanMode> modes, bool confirm = false) {
        settings.modes = std::move(modes);
        settings.confirm = confirm;
        scheduler.start();
    }
    std::size_t count() { return store.items()->size(); }
    Date now() { return desktop.runLoop.now(); }

    Store store;
    AutoCleanSettings settings;
    AutoCleanScheduler scheduler{store, [this] { return settings; },
                                 [this](AutoCleanSettings changed) { settings = std::move(changed); }};
    int cleaned = 0;
    Observation observation;
};

TEST_F(AutoCleanTest, ADailyCleanComesAtOnceAndThenWithTheHourlyCheck) {
    start({AutoCleanMode::daily});
    EXPECT_EQ(count(), 2U);
    EXPECT_EQ(cleaned, 1);
    EXPECT_EQ(settings.lastDailyRunAt, now());
    EXPECT_EQ(settings.lastRunAt, now());
    EXPECT_FALSE(settings.lastWeeklyRunAt);

    store.add(textItem("later"));
    desktop.runLoop.advance(23 * 3600);
    EXPECT_EQ(count(), 3U);
    desktop.runLoop.advance(3600);
    EXPECT_EQ(count(), 2U) << "due exactly a day after the last";
    scheduler.invalidateTimer();
    store.add(textItem("later"));
    desktop.runLoop.advance(48 * 3600);
    EXPECT_EQ(count(), 3U);
}

TEST_F(AutoCleanTest, PeriodsRunOutEachForItself) {
    const Date last{1000};
    const struct {
        std::set<AutoCleanMode> modes;
        double age;
        DueModes due;
    } cases[] = {
        {{}, 1e9, {}},
        {{AutoCleanMode::onLaunch}, 1e9, {}},
        {{AutoCleanMode::daily}, 86399.9, {}},
        {{AutoCleanMode::daily}, 86400, {.daily = true}},
        {{AutoCleanMode::weekly}, 604799, {}},
        {{AutoCleanMode::weekly}, 604800, {.weekly = true}},
        {{AutoCleanMode::daily, AutoCleanMode::weekly}, 86400, {.daily = true}},
        {{AutoCleanMode::daily, AutoCleanMode::weekly}, 604800, {true, true}},
    };
    for (const auto& each : cases) {
        AutoCleanSettings chosen;
        chosen.modes = each.modes;
        chosen.lastDailyRunAt = chosen.lastWeeklyRunAt = last;
        EXPECT_EQ(AutoCleanScheduler::dueModes(chosen, last + each.age), each.due) << each.age;
    }
    start({AutoCleanMode::daily, AutoCleanMode::weekly});
    EXPECT_EQ(cleaned, 1) << "both due is one clean";
    EXPECT_TRUE(settings.lastRunAt && settings.lastDailyRunAt && settings.lastWeeklyRunAt);
}

TEST_F(AutoCleanTest, NoneAmongTheModesKeepsEverything) {
    start({AutoCleanMode::daily, AutoCleanMode::none});
    EXPECT_EQ(count(), 3U);
    EXPECT_EQ(cleaned, 0);
    EXPECT_EQ(settings.lastDailyRunAt, now());
}

TEST_F(AutoCleanTest, TheQuestionIsAskedOnceAndOnlyConsentCleans) {
    desktop.alerts.answer = [&](const NSAlert& alert) {
        EXPECT_EQ(alert.messageText, "Clear the clipboard history?");
        EXPECT_EQ(alert.buttons, (std::vector<std::string>{"Cancel", "Clear"}));
        desktop.runLoop.advance(2 * 3600);
        return 1000;
    };
    start({AutoCleanMode::daily}, true);
    EXPECT_EQ(desktop.alerts.shown, 1);
    EXPECT_EQ(count(), 3U);
    EXPECT_FALSE(settings.lastRunAt || settings.lastDailyRunAt);

    desktop.alerts.answer = [&](const NSAlert&) {
        store.togglePin(store.items().get().back());
        desktop.runLoop.advance(5 * 3600);
        return 1001;
    };
    desktop.runLoop.advance(3600);
    EXPECT_EQ(desktop.alerts.shown, 2) << "cancelled, so still due, and asked once however long it is open";
    EXPECT_EQ(count(), 3U) << "what was pinned while the question was open stays";
    EXPECT_EQ(cleaned, 0) << "nothing was left to remove";

    store.add(textItem("another"));
    desktop.alerts.answer = [](const NSAlert&) { return 1001; };
    scheduler.performClean(false, false);
    EXPECT_EQ(count(), 3U);
    const auto shown = desktop.alerts.shown;
    scheduler.performClean(false, true);
    EXPECT_EQ(desktop.alerts.shown, shown) << "nothing would go, so nothing is asked";
    EXPECT_EQ(settings.lastWeeklyRunAt, now());
}

TEST_F(AutoCleanTest, SettingsSurviveAndTheOlderFormIsTakenOver) {
    auto& defaults = UserDefaults::standard();
    EXPECT_EQ(AutoCleanSettings::load(), AutoCleanSettings());

    AutoCleanSettings chosen;
    chosen.modes = {AutoCleanMode::weekly, AutoCleanMode::onLaunch};
    chosen.confirm = true;
    chosen.lastRunAt = Date{5};
    chosen.save();
    EXPECT_EQ(AutoCleanSettings::load(), chosen);
    chosen.lastRunAt.reset();
    chosen.save();
    EXPECT_EQ(AutoCleanSettings::load(), chosen);

    for (const auto* unreadable : {"[\"hourly\"]", "{}", "[1]", "["}) {
        defaults.set("settings.autoClean.modes", PropertyValue(Data(std::string_view(unreadable))));
        EXPECT_TRUE(AutoCleanSettings::load().modes.empty()) << unreadable;
    }
    defaults.set("settings.autoClean.lastRunAt", PropertyValue(Date{7}));
    defaults.set("settings.autoClean.mode", "none");
    EXPECT_TRUE(AutoCleanSettings::load().modes.empty());
    EXPECT_TRUE(defaults.object("settings.autoClean.mode")) << "none is no mode to take over";

    defaults.set("settings.autoClean.mode", "daily");
    const auto migrated = AutoCleanSettings::load();
    EXPECT_EQ(migrated.modes, std::set{AutoCleanMode::daily});
    EXPECT_EQ(migrated.lastDailyRunAt, Date{7});
    EXPECT_EQ(migrated.lastWeeklyRunAt, Date{7});
    EXPECT_FALSE(defaults.object("settings.autoClean.mode"));
    EXPECT_EQ(AutoCleanSettings::load(), migrated) << "saved as soon as it was migrated";
}

TEST_F(AutoCleanTest, EachFieldIsKeptForItselfAndHalfAnOlderFormIsNone) {
    auto& defaults = UserDefaults::standard();
    AutoCleanSettings chosen;
    chosen.modes = {AutoCleanMode::none, AutoCleanMode::onLaunch, AutoCleanMode::daily,
                    AutoCleanMode::weekly};
    chosen.lastRunAt = Date{5};
    chosen.lastDailyRunAt = Date{6};
    chosen.lastWeeklyRunAt = Date{7};
    chosen.save();
    EXPECT_EQ(AutoCleanSettings::load(), chosen);
    EXPECT_EQ(asText(*defaults.value<Data>("settings.autoClean.modes")),
              R"(["none","onLaunch","daily","weekly"])");
    const std::pair<const char*, Date> dates[] = {{"settings.autoClean.lastRunAt", Date{5}},
                                                  {"settings.autoClean.lastDailyRunAt", Date{6}},
                                                  {"settings.autoClean.lastWeeklyRunAt", Date{7}}};
    for (const auto& [key, date] : dates) EXPECT_EQ(defaults.value<Date>(key), date) << key;
    EXPECT_EQ(defaults.value<bool>("settings.autoClean.confirm"), false);

    for (const auto* unreadable : {"[\"daily\",\"hourly\"]", "[\"daily\",1]", "[\"daily\"]x", "[\"daily\""}) {
        defaults.set("settings.autoClean.modes", PropertyValue(Data(std::string_view(unreadable))));
        const auto loaded = AutoCleanSettings::load();
        EXPECT_TRUE(loaded.modes.empty()) << unreadable;
        EXPECT_EQ(loaded.lastRunAt, Date{5}) << unreadable;
        EXPECT_FALSE(loaded.lastDailyRunAt || loaded.lastWeeklyRunAt) << unreadable;
    }
    for (const auto& older : {PropertyValue("Daily"), PropertyValue(""), PropertyValue(true)}) {
        defaults.set("settings.autoClean.mode", older);
        EXPECT_TRUE(AutoCleanSettings::load().modes.empty());
        EXPECT_TRUE(defaults.object("settings.autoClean.mode"));
    }
}

class ExclusionTest : public HeadlessTest {};

TEST_F(ExclusionTest, IdentifiersAreTrimmedDistinctSortedAndKept) {
    auto& settings = ExclusionSettings::shared();
    for (const auto* id : {" b.app\n", "a.app", "b.app", "B.app", "  "}) settings.add(id);
    settings.remove("never there");
    const auto stored =
        UserDefaults::standard().value<std::vector<std::string>>("settings.excludedBundleIds");
    EXPECT_EQ(stored, (std::vector<std::string>{"B.app", "a.app", "b.app"}));
    settings.remove("a.app");
    EXPECT_EQ(ExclusionSettings().excludedBundleIds.get().size(), 2U);
}

class LocalizedTextTest : public HeadlessTest {};

TEST_F(LocalizedTextTest, TheBestLanguageServesAndEveryTableHasEveryKey) {
    const struct {
        std::vector<std::string> preferred;
        std::string cancel;
    } cases[] = {
        {{}, "Cancel"},
        {{"C"}, "Cancel"},
        {{"es_MX.UTF-8"}, "Cancelar"},
        {{"fr_FR", "pt_BR.UTF-8"}, "Cancelar"},
        {{"en_GB", "es"}, "Cancel"},
    };
    for (const auto& each : cases) {
        Localization::current().preferredLanguages = each.preferred;
        EXPECT_EQ(localized("cancel"), each.cancel);
    }
    Localization::current().folder = "pt-BR";
    EXPECT_EQ(localized("clear"), "Limpar");
    EXPECT_EQ(localized("no.such.key"), "no.such.key");
    EXPECT_EQ(localized("clear", "no place for it"), "Limpar");
    EXPECT_EQ(takeMissing(), std::vector<std::string>{"text no.such.key"});
    EXPECT_FALSE(Bundle::withFolder("ptBR"));

    const auto english = Bundle::withFolder("en")->table();
    for (const auto* folder : {"pt-BR", "es"}) {
        const auto table = Bundle::withFolder(folder)->table();
        EXPECT_EQ(table.size(), english.size()) << folder;
        for (const auto& [key, text] : english) EXPECT_TRUE(table.contains(key)) << folder << ' ' << key;
    }
}

}  // namespace
}  // namespace vellumix
