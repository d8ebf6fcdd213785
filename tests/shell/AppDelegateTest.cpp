#include "shell/AppDelegate.h"

#include <algorithm>
#include <set>
#include <sstream>

#include "platform/foundation/coding/Json.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/Unicode.h"
#include "shell/CommandLine.h"
#include "shell/StatusReport.h"
#include "shell/settings/LanguageManager.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

class AppDelegateTest : public HeadlessTest {
protected:
    void copy(const char* text) {
        desktop.pasteboard.copyElsewhere({.text = String(text)});
        desktop.runLoop.advance(0.25);
    }
};

TEST_F(AppDelegateTest, ACopyJustBeforeTheEndIsOnDisk) {
    {
        AppDelegate application;
        EXPECT_EQ(application.watcher(), nullptr);
        application.applicationDidFinishLaunching();
        copy("last words");
        application.applicationWillTerminate();
        copy("too late");
    }
    EXPECT_TRUE(history().starts_with("VLX1"));
    AppDelegate again;
    EXPECT_EQ(textsOf(again.store().items().get()), std::vector<std::string>{"last words"});
}

TEST_F(AppDelegateTest, UnderATestHarnessNothingStarts) {
    UserDefaults::standard().set("onboarding.completed", PropertyValue(true));
    AppDelegate application;
    desktop.processInfo.arguments_ = {"-resetOnboarding"};
    desktop.processInfo.variables["XCTestConfigurationFilePath"] = "x";
    application.applicationDidFinishLaunching();
    EXPECT_FALSE(UserDefaults::standard().object("onboarding.completed")) << "the switch comes first";
    EXPECT_EQ(application.watcher(), nullptr);
    application.applicationWillTerminate();
}

TEST_F(AppDelegateTest, EntriesComeFromTheCloudUntilTheEnd) {
    UserDefaults::standard().set("settings.iCloudSyncEnabled", PropertyValue(true));
    desktop.cloud.next.records = {
        {{UUID::random().uuidString()}, {{"kind", "text"}, {"createdAt", Date{1}}, {"text", "from afar"}}}};
    AppDelegate application;
    application.applicationDidFinishLaunching();
    desktop.runLoop.advance(1);
    EXPECT_EQ(textsOf(application.store().items().get()), std::vector<std::string>{"from afar"});
    const auto line = "last fetch " + application.cloudSync().lastFetch->iso8601();
    EXPECT_NE(readableStatus(statusReport(application)).find("Up to date; " + line), std::string::npos);

    const CloudAccount other{"https://example.org", "ali"};
    desktop.cloud.accountError = CKError{.localizedDescription = "The server knows another password."};
    application.takeAccount(other);
    desktop.runLoop.advance(1);
    EXPECT_EQ(CloudAccount::stored(), other);
    EXPECT_EQ(desktop.cloud.accountChanges, 1) << "its password is another one";
    EXPECT_NE(readableStatus(statusReport(application)).find("another password.; " + line),
              std::string::npos);
    const auto fetches = desktop.cloud.fetches.size();
    desktop.runLoop.advance(120);
    EXPECT_EQ(desktop.cloud.fetches.size(), fetches) << "the timer of the former account has gone";

    desktop.cloud.accountError.reset();
    application.takeAccount(other);
    desktop.runLoop.advance(61);
    EXPECT_EQ(desktop.cloud.fetches.size(), fetches + 2);
    application.applicationWillTerminate();
    desktop.runLoop.advance(120);
    EXPECT_EQ(desktop.cloud.fetches.size(), fetches + 2);
}

TEST_F(AppDelegateTest, TheLaunchCleansWhenAskedTo) {
    {
        AutoCleanSettings chosen;
        chosen.modes = {AutoCleanMode::onLaunch};
        chosen.save();
        Store store;
        store.add(textItem("old"));
        store.saveNow();
    }
    AppDelegate application;
    EXPECT_EQ(application.store().items()->size(), 1U);
    application.applicationDidFinishLaunching();
    EXPECT_TRUE(application.store().items()->empty());
    EXPECT_EQ(application.autoCleanSettings->lastRunAt, desktop.runLoop.now());
    EXPECT_EQ(AutoCleanSettings::load(), application.autoCleanSettings.get());
}

TEST_F(AppDelegateTest, TheStatusTellsEverythingButContent) {
    AppDelegate application;
    application.applicationDidFinishLaunching();
    auto status = JsonValue::parse(statusReport(application));
    ASSERT_TRUE(status);
    EXPECT_TRUE(std::holds_alternative<std::nullptr_t>((*status)["lastCapture"]->value));

    copy("secret words");
    copy("https://example.org/hidden");
    application.store().togglePin(application.store().items().get()[0]);
    desktop.pasteboard.copyElsewhere(
        {.text = String("password"), .otherTypes = {std::string(concealedMarkerType)}});
    desktop.runLoop.advance(0.25);
    const auto json = statusReport(application);
    status = JsonValue::parse(json);
    ASSERT_TRUE(status);
    const auto number = [](const JsonValue* value) { return std::get<JsonValue::Number>(value->value).text; };
    EXPECT_EQ(number((*(*status)["entries"])["text"]), "1");
    EXPECT_EQ(number((*(*status)["entries"])["link"]), "1");
    EXPECT_EQ(number((*status)["pinned"]), "1");
    EXPECT_EQ(number((*status)["locked"]), "0");
    EXPECT_EQ(std::get<std::string>((*status)["file"]->value), historyPath);
    EXPECT_EQ(std::get<std::string>((*(*status)["lastRefusal"])["reason"]->value),
              "marked as not to be recorded");
    const auto lines = readableStatus(json);
    EXPECT_NE(lines.find("Link 1"), std::string::npos);
    for (const auto* content : {"secret", "example", "password"}) {
        EXPECT_EQ((json + lines).find(content), std::string::npos);
    }
    EXPECT_EQ(readableStatus("{}"), "");

    const auto hotkey = [&] {
        return std::get<std::string>((*JsonValue::parse(statusReport(application)))["hotkey"]->value);
    };
    EXPECT_EQ(hotkey(), "active");
    desktop.hotkeys.taken = desktop.hotkeys.registered;
    EXPECT_EQ(hotkey(), "refused");
}

TEST_F(AppDelegateTest, WhatIsNotSavedEncipheredOrRecordedIsToldOnce) {
    AppDelegate application;
    application.applicationDidFinishLaunching();
    const auto status = [&](const char* member) {
        const auto report = JsonValue::parse(statusReport(application));
        return (*report)[member]->value;
    };
    const auto unprotected = [&] { return std::get<JsonValue::Number>(status("lockedInClear")).text; };
    const auto hasFailed = [&] { return std::get<bool>(status("saveFailed")); };
    auto& told = desktop.notifications.bodies;
    copy("one");
    desktop.runLoop.advance(1);
    EXPECT_FALSE(hasFailed());
    EXPECT_EQ(unprotected(), "0");

    desktop.files.folders.erase(folderOf(historyPath));
    for (const auto* text : {"two", "three"}) {
        copy(text);
        desktop.runLoop.advance(1);
        EXPECT_TRUE(hasFailed());
    }
    EXPECT_EQ(told, std::vector<std::string>{localized("error.save.failed")});
    desktop.files.makeFolder(folderOf(historyPath));

    told.clear();
    desktop.keychain.refusal = errSecInteractionNotAllowed;
    for (int index = 0; index < 2; ++index)
        application.store().setLocked(application.store().items().get()[static_cast<std::size_t>(index)],
                                      true);
    desktop.runLoop.advance(1);
    EXPECT_FALSE(hasFailed());
    EXPECT_EQ(unprotected(), "2");
    EXPECT_EQ(told, std::vector<std::string>{localized("error.lock.inClear")});

    told.clear();
    desktop.keychain.refusal.reset();
    copy("four");
    EXPECT_EQ(unprotected(), "0");
    EXPECT_TRUE(told.empty());

    desktop.pasteboard.dropElsewhere(RefusalReason::noAnswer);
    EXPECT_EQ(told, std::vector<std::string>{localized("message.copyNotRecorded") + ": " +
                                             localizedText(RefusalReason::noAnswer)});

    told.clear();
    desktop.trash.missing["/gone"] = std::nullopt;
    application.pasteAndClose(fileItem("/gone"));
    desktop.runLoop.advance(1);
    EXPECT_EQ(told, std::vector<std::string>{localized("message.fileGone")});
    EXPECT_TRUE(desktop.syntheticKeys.posted.empty());
}

TEST_F(AppDelegateTest, TheStatusIsALineForEachMemberInTheUsersLanguage) {
    AppDelegate application;
    application.applicationDidFinishLaunching();
    copy("one");
    copy("one");
    const auto json = statusReport(application);
    const auto members = std::get<JsonValue::Object>(JsonValue::parse(json)->value);
    const struct {
        AppLanguage language;
        std::string link;
        std::string refusal;
    } cases[] = {{AppLanguage::en, "Link 0", "  the same as the last capture, "},
                 {AppLanguage::ptBR, "Link 0", "  igual ao último registro, "},
                 {AppLanguage::es, "Enlace 0", "  igual que el último registro, "}};
    for (const auto& one : cases) {
        LanguageManager::shared().currentLanguage.set(one.language);
        EXPECT_EQ(statusReport(application), json) << "what programs read is the same in every language";
        const auto lines = readableStatus(json);
        EXPECT_NE(lines.find(one.link), std::string::npos) << lines;
        EXPECT_NE(lines.find(one.refusal), std::string::npos) << lines;
        EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(lines, '\n')), 1 + members.size()) << lines;
        std::set<std::size_t> columns;
        std::istringstream stream(lines.substr(lines.find('\n') + 1));
        for (std::string line; std::getline(stream, line);) {
            const auto value = line.find_first_not_of(' ', line.find(':') + 1);
            columns.insert(graphemeBoundaries(line.substr(0, value)).size());
        }
        EXPECT_EQ(columns.size(), 1U) << lines;
        // A key without a text is shown as it is.
        for (const auto* prefix : {"report.", "category.", "help."}) {
            EXPECT_EQ((lines + CommandLine::help()).find(prefix), std::string::npos) << prefix;
        }
        for (const auto reason : allRefusalReasons) {
            EXPECT_FALSE(localizedText(reason).starts_with("refusal.")) << rawValue(reason);
            EXPECT_EQ(refusalReason(rawValue(reason)), reason);
        }
    }
}

TEST_F(AppDelegateTest, ARefusedShortcutLeavesTheOldOneAtWorkAndStored) {
    constexpr Shortcut chosen{.keyCode = 8, .modifiers = cmdKey | shiftKey};
    constexpr Shortcut taken{.keyCode = 7, .modifiers = cmdKey};
    desktop.hotkeys.taken = {{taken.keyCode, taken.modifiers}};
    {
        AppDelegate application;
        application.applicationDidFinishLaunching();
        EXPECT_EQ(desktop.hotkeys.registered, (std::vector<headless::Hotkeys::Combination>{{9, 2304}}));
        EXPECT_TRUE(application.updateGlobalShortcut(chosen));
        EXPECT_FALSE(application.updateGlobalShortcut(taken));
        EXPECT_EQ(application.shortcut.get(), chosen);
        EXPECT_EQ(desktop.hotkeys.registered, (std::vector<headless::Hotkeys::Combination>{{8, 768}}));
    }
    AppDelegate again;
    EXPECT_EQ(again.shortcut.get(), chosen);

    // Another program took it between the two runs.
    desktop.hotkeys.taken.push_back({chosen.keyCode, chosen.modifiers});
    again.applicationDidFinishLaunching();
    EXPECT_TRUE(desktop.log.contains("AppDelegate: Failed to register global hotkey on launch"));
    EXPECT_TRUE(again.statusBar());

    UserDefaults::standard().set("settings.globalShortcut",
                                 PropertyValue(Data(std::string_view(R"({"keyCode":8})"))));
    EXPECT_EQ(AppDelegate().shortcut.get(), (Shortcut{9, 2304}));
}

TEST_F(AppDelegateTest, ARefusedCutIsSwitchedOffAndToldOnceUntilTwoSecondsLater) {
    constexpr Shortcut taken{.keyCode = 49, .modifiers = cmdKey | controlKey};
    desktop.eventTaps.taken = {{.keyCode = 49, .flags = modifierFlags(taken.modifiers)}};
    desktop.workspace.front = NSRunningApplication{.kindIdentifier = fileManagerIdentifier};
    const auto cut = [](AppDelegate& application) {
        return std::get<std::string>((*JsonValue::parse(statusReport(application)))["cut"]->value);
    };
    const auto cuts = [&](const Shortcut& shortcut) {
        return !desktop.eventTaps.press(
            {.chord = {.keyCode = shortcut.keyCode, .flags = modifierFlags(shortcut.modifiers)}});
    };
    std::string said;
    int answered = NSAlert::firstButtonReturn + 1;
    desktop.alerts.answer = [&](const NSAlert& alert) {
        said = alert.informativeText;
        EXPECT_EQ(alert.buttons.size(), 2U);
        // Another failure while it is up.
        NotificationCenter::defaultCenter().post("CGEventTapRevoked");
        desktop.runLoop.advance(5);
        return answered;
    };
    {
        AppDelegate application;
        EXPECT_EQ(application.cutShortcut.get(), (Shortcut{7, cmdKey}));
        EXPECT_FALSE(cuts({7, cmdKey})) << "not before the launch";
        application.applicationDidFinishLaunching();
        EXPECT_EQ(cut(application), "on");
        EXPECT_TRUE(cuts({7, cmdKey}));
        application.updateCutShortcut(taken);
        desktop.runLoop.advance(0);
        EXPECT_EQ(desktop.alerts.shown, 1);
        EXPECT_NE(said.find("⌃⌘  (Ctrl+Super+Space)"), std::string::npos) << said;
        EXPECT_FALSE(application.globalCutEnabled.get());
        EXPECT_EQ(cut(application), "refused");
        EXPECT_TRUE(desktop.sharing.opened.empty());
        application.setGlobalCutEnabled(true);
        desktop.runLoop.advance(1.9);
        EXPECT_EQ(desktop.alerts.shown, 1) << "so soon after the last one";
        application.setGlobalCutEnabled(false);
        EXPECT_EQ(cut(application), "off");
        desktop.runLoop.advance(0.2);
        answered = NSAlert::firstButtonReturn;
        application.setGlobalCutEnabled(true);
        desktop.runLoop.advance(10);
        EXPECT_EQ(desktop.alerts.shown, 2);
        EXPECT_EQ(desktop.sharing.opened,
                  std::vector<URL>{*URL::parse("x-apple.systempreferences:com.apple.preference.security?"
                                               "Privacy_ListenEvent")});
    }
    EXPECT_FALSE(AppDelegate().globalCutEnabled.get()) << "kept";
    EXPECT_EQ(AppDelegate().cutShortcut.get(), taken);

    // What is no boolean reads as on. Then the launch finds the combination taken.
    UserDefaults::standard().set("settings.globalCutEnabled", PropertyValue(std::string("no")));
    AppDelegate again;
    again.applicationDidFinishLaunching();
    desktop.runLoop.advance(10);
    EXPECT_EQ(desktop.alerts.shown, 3);
    desktop.eventTaps.taken.clear();
    again.setGlobalCutEnabled(true);
    EXPECT_TRUE(cuts(taken));
    again.applicationWillTerminate();
    EXPECT_FALSE(cuts(taken)) << "nobody waits for the end of the program";
}

TEST_F(AppDelegateTest, TheStatusReadsLikeThis) {
    AppDelegate application;
    application.applicationDidFinishLaunching();
    application.showPanel();
    copy("one");
    const auto date = application.watcher()->lastCapture()->date.iso8601();
    const auto json = statusReport(application);
    EXPECT_EQ(json,
              R"({"entries":{"text":1,"image":0,"file":0,"link":0,"code":0},"pinned":0,"locked":0,)"
              R"("lockedInClear":0,"file":"\/home\/user\/.local\/share\/Vellumix\/history.json",)"
              R"("saveFailed":false,"keychain":"in memory","panel":"visible","hotkey":"active",)"
              R"("cut":"on","lastCapture":{"date":")" +
                  date +
                  R"(","kind":"text"},"lastRefusal":null,)"
                  R"("sync":{"state":"disabled","text":"","lastFetch":null},"updates":"not configured"})");
    LanguageManager::shared().currentLanguage.set(AppLanguage::es);
    EXPECT_EQ(readableStatus(json),
              "Vellumix está en ejecución.\n"
              "Elementos:        Texto 1, Imagen 0, Archivo 0, Enlace 0, Código 0\n"
              "Fijados:          0\n"
              "Bloqueados:       0\n"
              "Sin proteger:     0\n"
              "Archivo:          /home/user/.local/share/Vellumix/history.json\n"
              "Guardado:         funciona\n"
              "Clave en:         memoria\n"
              "Panel:            visible\n"
              "Atajo:            activo\n"
              "Corte:            activado\n"
              "Último registro:  Texto, " +
                  date +
                  "\n"
                  "Último rechazo:   ninguno desde el inicio\n"
                  "Sincronización:   Desactivada\n"
                  "Actualizaciones:  sin configurar\n");
    const std::pair<const char*, const char*> others[] = {
        {R"("keychain":"key file")", "archivo de clave\n"},
        {R"("keychain":"none yet")", "ningún lugar todavía\n"},
        {R"("keychain":"Some Wallet")", "Some Wallet\n"},
        {R"("saveFailed":true)", "falla\n"},
        {R"("panel":"hidden")", "oculto\n"},
        {R"("hotkey":"refused")", "lo usa otro programa\n"},
        {R"("cut":"refused")", "lo usa otro programa\n"},
        {R"("updates":"configured")", "configuradas\n"},
    };
    for (const auto& [member, end] : others) {
        const auto lines = readableStatus(R"({"entries":{},)" + std::string(member) + "}");
        EXPECT_TRUE(lines.ends_with(end)) << lines;
    }
}

TEST_F(AppDelegateTest, AStoredFirstSizeIsTwoLengthsOrNothing) {
    const struct {
        const char* stored;
        Size size;
    } cases[] = {{"[600,700]", {600, 700}},   {"[600.5,32767]", {600.5, 32767}}, {"[600]", {520, 450}},
                 {"[600,700,1]", {520, 450}}, {"[0,700]", {520, 450}},           {"[600,32768]", {520, 450}},
                 {"[600,700]x", {520, 450}},  {"[\"600\",700]", {520, 450}},     {"", {520, 450}}};
    for (const auto& each : cases) {
        UserDefaults::standard().set("ui.popoverSize", PropertyValue(Data(std::string_view(each.stored))));
        AppDelegate application;
        EXPECT_EQ(application.popoverSize.get(), each.size) << each.stored;
        application.applicationDidFinishLaunching();
        EXPECT_EQ(application.statusBar()->currentSize, each.size) << each.stored;
    }
}

TEST(CommandLine, Words) {
    const SharedInstances::Scope instances;
    using Command = CommandLine::Command;
    EXPECT_EQ(CommandLine::parse({}).command, Command::run);
    const std::pair<const char*, Command> commands[] = {
        {"--help", Command::help}, {"-h", Command::help},      {"--version", Command::version},
        {"show", Command::show},   {"hide", Command::hide},    {"toggle", Command::toggle},
        {"quit", Command::quit},   {"status", Command::status}};
    for (const auto& [word, command] : commands) {
        EXPECT_EQ(CommandLine::parse({word}).command, command) << word;
        EXPECT_EQ(CommandLine::parse({word}).error, "") << word;
        for (const auto* alone : {"--show", "-resetOnboarding"})
            EXPECT_EQ(CommandLine::parse({word, alone}).error, localized("command.goesAlone", alone)) << word;
    }
    EXPECT_TRUE(CommandLine::parse({"--show"}).showsPanel);
    EXPECT_TRUE(CommandLine::parse({"-resetOnboarding"}).resetsOnboarding);
    EXPECT_EQ(CommandLine::parse({"show", "--json"}).error, localized("command.onlyWithStatus"));
    EXPECT_EQ(CommandLine::parse({"stauts"}).error, localized("command.unknownWord", std::string("stauts")));
    EXPECT_FALSE(CommandLine::parse({"status"}).json);
    EXPECT_EQ(CommandLine::parse({"-resetOnboarding"}).error, "");
    EXPECT_EQ(CommandLine::parse({"status", "--json"}).json, true);
    EXPECT_EQ(CommandLine::parse({"--platform=headless"}).platform, CommandLine::PlatformChoice::headless);
    EXPECT_NE(CommandLine::parse({"--json"}).error, "");
}

}  // namespace
}  // namespace vellumix
