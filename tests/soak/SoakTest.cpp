// A long day at the machine: the whole application with its panel, worked at random and in quick succession,
// neither grows nor loses anything.
#include <malloc.h>

#include <algorithm>
#include <random>

#include "core/history/FileIconCache.h"
#include "core/transforms/TextTransform.h"
#include "platform/foundation/bytes/Base64.h"
#include "platform/foundation/text/LocalizedText.h"
#include "shell/AppDelegate.h"
#include "view/HostedWindow.h"
#include "views/controls/Kinds.h"
#include "views/panel/PasswordPrompt.h"
#include "views/panel/RootContainerView.h"

#ifdef VELLUMIX_ADDRESS_SANITIZER
// The compiler's package brings the function without its header.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace vellumix {
namespace {

using Kind = ClipboardItem::Kind;
using view::Role;

/// What the program and its libraries hold, in bytes.
std::size_t heldMemory() {
#ifdef VELLUMIX_ADDRESS_SANITIZER
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto memory = mallinfo2();
    return memory.uordblks + memory.hblkhd;
#endif
}

/// What the history ought to hold, newest first.
struct Expected {
    struct Entry {
        Kind kind = Kind::text;
        /// Empty for an image.
        std::string text;
        bool pinned = false;
        bool locked = false;

        friend bool operator==(const Entry&, const Entry&) = default;
    };

    void copied(Kind kind, const std::string& text) {
        const Entry entry{.kind = kind, .text = text};
        if (entry == lastCopy) return;
        lastCopy = entry;
        if (kind != Kind::image) {
            std::erase_if(entries, [&](const Entry& old) {
                return !old.locked && old.kind == kind && old.text == text;
            });
        }
        entries.insert(entries.begin(), entry);
        if (entries.size() > Store::limit) entries.resize(Store::limit);
    }

    std::vector<Entry> entries;
    std::optional<Entry> lastCopy;
};

class SoakTest : public view::HostedWindowTest {
protected:
    static constexpr int operationsARound = 667;
    static constexpr std::size_t allowance = 16 * 1024;

    SoakTest() {
        desktop.authentication.refusal.reset();
        // What is painted is not looked at.
        desktop.windows.scale = 0.1;
        desktop.workspace.front = editor;
        application = std::make_unique<AppDelegate>();
        application->setRootView([] { return view::View(RootContainerView{}); });
        application->applicationDidFinishLaunching();
        desktop.runLoop.advance(10);
        idlePending = desktop.runLoop.pending();
    }

    std::size_t any(std::size_t count) { return random() % count; }

    /// Mostly no time at all passes between two things that a quick person does, or that a program does.
    void letSomeTimePass() {
        constexpr double pauses[] = {0, 0, 0.01, 0.05, 0.12, 0.3, 2};
        desktop.runLoop.advance(pauses[any(std::size(pauses))]);
    }

    headless::Window& panel() { return shown(NSWindow::Kind::panel); }
    void key(const KeyEvent& event) {
        auto* window = desktop.windows.keyWindow();
        ASSERT_NE(window, nullptr);
        window->delegate()->keyPressed(event);
    }
    bool has(Role role, const std::string& label) {
        desktop.runLoop.advance(0.05);
        return treeOf(panel()).semantics().find(role, label) != nullptr;
    }

    // Copies in other programs.

    void copyElsewhere(const headless::Pasteboard::Content& content) {
        // Copies just after a paste go unrecorded.
        desktop.runLoop.advance(std::max(quietUntil - desktop.runLoop.uptime(), 0.0));
        desktop.pasteboard.copyElsewhere(content);
        desktop.runLoop.advance(0.25);
    }
    void copyText(Kind kind, const std::string& text) {
        copyElsewhere({.text = String(text)});
        expected.copied(kind, text);
    }
    void copySomething() {
        const auto name = "n" + std::to_string(10000 + ++copies) + "z";
        switch (any(8)) {
            case 0:
                return copyText(Kind::link, "https://example.org/" + name);
            case 1:
                return copyText(Kind::code, "int " + name + "() {\n    return 1;\n}\nclass X;");
            case 2:
                copyElsewhere({.files = {URL::file("/tmp/" + name)}});
                return expected.copied(Kind::file, name);
            case 3:
                copyElsewhere({.image = tinyPNG()});
                return expected.copied(Kind::image, "");
            case 4:
                return copyElsewhere(
                    {.text = String(name), .otherTypes = {std::string(concealedMarkerType)}});
            case 5:
                return copyText(Kind::text, name + std::string(10'000, 'x'));
            default:
                return copyText(Kind::text, name + " and some words");
        }
    }
    void copyAnOldOneAgain() {
        if (expected.entries.empty()) return;
        const auto old = expected.entries[any(expected.entries.size())];
        if (old.kind == Kind::text && !old.locked) copyText(old.kind, old.text);
    }

    // What a person does with the panel.

    void openList() {
        application->showPanel();
        if (has(Role::button, localized("action.close"))) {
            click(panel(), Role::button, localized("action.close"));
        }
        click(panel(), Role::radioButton, captionOf(Kind::all));
    }
    void search(const std::string& text) {
        key({.modifiers = {.hasControl = true}, .character = "f"});
        key({.modifiers = {.hasControl = true}, .character = "a"});
        key({.key = Key::backspace, .text = {}});
        if (!text.empty()) key({.text = text});
    }

    /// Finds one entry by its text, for whoever has something to do with it. Null where none can be told from
    /// all others.
    Expected::Entry* findOne() {
        if (expected.entries.empty()) return nullptr;
        auto& wanted = expected.entries[any(expected.entries.size())];
        if (wanted.kind == Kind::image) return nullptr;
        const auto at = wanted.text.find("n1");
        auto name = wanted.text.substr(at == std::string::npos ? 0 : at, 12);
        name.resize(std::min(name.size(), name.find_first_of(" ()")));
        const auto isMeant = [&](const auto& entry) { return entry.text.find(name) != std::string::npos; };
        if (std::ranges::count_if(expected.entries, isMeant) != 1) return nullptr;
        openList();
        search(name);
        return &wanted;
    }

    /// Types into the prompt that a locked entry brings up; whether it was the right word.
    bool answerPrompt() {
        if (desktop.authentication.prompts.size() != 1) {
            ADD_FAILURE() << "one prompt is up";
            return false;
        }
        std::optional<std::string> given;
        bool isCancelled = false;
        {
            PasswordPrompt prompt({.reason = desktop.authentication.prompts.front().reason,
                                   .cancelTitle = "Cancel",
                                   .confirmTitle = "Confirm",
                                   .onCancel = [&] { isCancelled = true; }});
            prompt.ask("Password:", PasswordPrompt::Echo::off,
                       [&](SecretText answer) { given = answer.view(); });
            desktop.runLoop.advance(0.1);
            const std::string word = any(2) ? "right" : "wrong";
            for (const char letter : word) key({.text = std::string(1, letter)});
            key({.key = any(4) ? Key::enter : Key::escape});
            desktop.runLoop.advance(0.1);
        }
        EXPECT_NE(given.has_value(), isCancelled);
        const bool isRight = given == "right";
        std::optional<LAError> error;
        if (!isRight)
            error = LAError{.code = isCancelled ? LAError::userCancel : LAError::authenticationFailed};
        desktop.authentication.answer(isRight, error);
        desktop.runLoop.settle();
        return isRight;
    }

    void pin() {
        if (auto* entry = findOne()) {
            click(panel(), Role::button, localized(entry->pinned ? "action.unpin" : "action.pin"));
            entry->pinned = !entry->pinned;
        }
    }
    void toggleLock() {
        auto* entry = findOne();
        if (!entry) return;
        click(panel(), Role::button, localized(entry->locked ? "action.unlock" : "action.lock"));
        if (!entry->locked || answerPrompt()) entry->locked = !entry->locked;
    }
    void copy() {
        const auto* entry = findOne();
        if (!entry) return;
        click(panel(), Role::button, localized("action.copy"));
        const bool isAllowed = !entry->locked || answerPrompt();
        if (isAllowed && entry->kind != Kind::file) {
            EXPECT_EQ(desktop.pasteboard.offered().text, String(entry->text));
        }
        quietUntil = desktop.runLoop.uptime() + 0.7;
        if (entry->locked) hideWhole();
    }
    void paste() {
        const auto* entry = findOne();
        if (!entry) return;
        desktop.syntheticKeys.posted.clear();
        key({.key = Key::enter});
        if (entry->locked && !answerPrompt()) return;
        EXPECT_EQ(desktop.windows.shown(NSWindow::Kind::panel), nullptr);
        desktop.runLoop.advance(0.1);
        ASSERT_EQ(desktop.syntheticKeys.posted.size(), 1U);
        if (entry->kind != Kind::file) {
            EXPECT_EQ(desktop.syntheticKeys.posted[0].text, String(entry->text));
        }
        quietUntil = desktop.runLoop.uptime() + 0.7;
    }
    void remove() {
        const auto* entry = findOne();
        if (!entry) return;
        click(panel(), Role::button, localized("delete"));
        desktop.runLoop.advance(0.05);
        auto& alert = shown(NSWindow::Kind::alert);
        switch (any(4)) {
            case 0:
                return click(alert, Role::button, localized("cancel"));
            case 1:
                return hideWhole();
            default:
                click(alert, Role::button, localized("delete"));
                expected.entries.erase(expected.entries.begin() + (entry - expected.entries.data()));
        }
    }
    void transform() {
        const auto* entry = findOne();
        if (!entry || entry->locked || entry->kind == Kind::file || entry->text[0] != 'n') return;
        const auto result = base64::encode(viewOf(entry->text));
        desktop.runLoop.advance(1);
        click(panel(), Role::menuButton, localized("transform.menu"));
        switch (any(4)) {
            case 0:
                return key({.key = Key::escape});
            case 1:
                return hideWhole();
            default:
                click(shown(NSWindow::Kind::menu), Role::menuItem, title(TextTransform::base64Encode));
                desktop.runLoop.advance(0.25);
                expected.copied(Kind::text, result);
        }
    }
    void clear() {
        openList();
        click(panel(), Role::button, localized("action.clearHistory"));
        std::erase_if(expected.entries, [](const auto& entry) { return !entry.pinned && !entry.locked; });
    }
    void lookAround() {
        openList();
        constexpr Kind kinds[] = {Kind::text, Kind::image, Kind::link, Kind::file, Kind::code, Kind::all};
        for (int round = 0; round < 2; ++round) {
            click(panel(), Role::radioButton, captionOf(kinds[any(std::size(kinds))]));
            search(any(2) ? "" : "n1");
            auto& window = *panel().delegate();
            for (int step = 0; step < 5; ++step) key({.key = any(3) ? Key::down : Key::up});
            window.scrolled({260, 400}, static_cast<double>(any(3000)), 0);
            window.pointerMoved({static_cast<double>(any(520)), static_cast<double>(any(450))});
            desktop.runLoop.advance(any(2) ? 1.5 : 0);
            window.pointerLeft();
        }
    }
    void changeSettings() {
        application->showPanel();
        if (has(Role::button, localized("accessibility.settings"))) {
            click(panel(), Role::button, localized("accessibility.settings"));
        }
        click(panel(), Role::radioButton, any(2) ? "Light" : "Dark");
        letSomeTimePass();
        click(panel(), Role::menuButton, localized("settings.language"));
        click(shown(NSWindow::Kind::menu), Role::menuItem,
              displayName(allAppLanguages[any(std::size(allAppLanguages))]));
    }
    void toggle() {
        switch (any(5)) {
            case 0:
                return desktop.windows.pressElsewhere({5, 5});
            case 1:
                return desktop.statusBar.icon()->action();
            case 2:
                return application->hidePanel();
            default:
                EXPECT_TRUE(desktop.hotkeys.press({9, cmdKey | optionKey}));
        }
    }
    void hideWhole() {
        application->hidePanel();
        desktop.runLoop.advance(0.5);
    }

    void work(int operations, unsigned seed) {
        random.seed(seed);
        copies = 0;
        struct Operation {
            unsigned weight;
            void (SoakTest::*run)();
        };
        static constexpr Operation all[] = {
            {60, &SoakTest::copySomething}, {8, &SoakTest::copyAnOldOneAgain},
            {40, &SoakTest::toggle},        {6, &SoakTest::pin},
            {14, &SoakTest::toggleLock},    {6, &SoakTest::copy},
            {8, &SoakTest::paste},          {5, &SoakTest::remove},
            {5, &SoakTest::transform},      {3, &SoakTest::lookAround},
            {3, &SoakTest::changeSettings}, {1, &SoakTest::clear},
        };
        std::vector<unsigned> weights;
        for (const auto& operation : all) weights.push_back(operation.weight);
        std::discrete_distribution<std::size_t> choice(weights.begin(), weights.end());
        for (int done = 0; done < operations && !HasFailure(); ++done) {
            SCOPED_TRACE("operation " + std::to_string(done));
            (this->*all[choice(random)].run)();
            letSomeTimePass();
        }
    }

    void expectHistory(Store& store) {
        ASSERT_EQ(store.items()->size(), expected.entries.size());
        for (std::size_t at = 0; at < expected.entries.size(); ++at) {
            const auto& item = store.items().get()[at];
            const auto& entry = expected.entries[at];
            SCOPED_TRACE(at);
            const bool hasText = entry.kind != Kind::image;
            EXPECT_EQ(item.text(), hasText ? std::optional(String(entry.text)) : std::nullopt);
            EXPECT_EQ(item.kind, entry.kind);
            EXPECT_EQ(item.pinned, entry.pinned);
            EXPECT_EQ(item.locked, entry.locked);
            EXPECT_EQ(item._text.has_value(), hasText && !entry.locked) << "a locked one is enciphered";
        }
    }

    /// Goes back to an idle program with an empty history, and looks for what is left over.
    std::size_t heldAtRest() {
        application->hidePanel();
        desktop.runLoop.advance(LockCoordinator::autoLockInterval + 10);
        expectHistory(application->store());
        {
            Store onDisk;
            expectHistory(onDisk);
        }
        for (const auto& line : desktop.log.lines) EXPECT_EQ(line.find("n1"), std::string::npos) << line;

        expected = {};
        application->store().replaceAll({});
        application->themeManager().currentTheme.set(ThemeMode::light);
        application->languageManager().currentLanguage.set(AppLanguage::en);
        openList();
        search("");
        hideWhole();
        copyText(Kind::text, "n1");
        application->store().replaceAll({});
        expected.entries.clear();
        desktop.runLoop.advance(Store::memoryLingers + 10);
        desktop.log.lines = {};
        desktop.syntheticKeys.posted = {};
        desktop.workspace.activated = {};

        EXPECT_EQ(desktop.runLoop.pending(), idlePending);
        EXPECT_EQ(desktop.windows.windows().size(), 1U) << "the hidden panel alone";
        EXPECT_FALSE(desktop.windows.windows().front()->isVisible());
        EXPECT_EQ(desktop.windows.keyWindow(), nullptr);
        EXPECT_FALSE(desktop.windows.isMonitoringMouse());
        EXPECT_FALSE(application->lockCoordinator().hasPendingAutoLock());
        EXPECT_TRUE(desktop.authentication.prompts.empty());
        // It is bounded, and which icons it holds depends on what was drawn last.
        FileIconCache::shared().cache.removeAllObjects();
        return heldMemory();
    }

    const NSRunningApplication editor{.processIdentifier = 7, .bundleIdentifier = "editor", .window = 70};
    std::unique_ptr<AppDelegate> application;
    std::mt19937 random;
    Expected expected;
    int copies = 0;
    double quietUntil = 0;
    std::size_t idlePending = 0;
};

TEST_F(SoakTest, AfterTwoThousandOperationsNothingHasGrownOrGone) {
    work(operationsARound, 1);
    heldAtRest();
    // What grows once, as buffers and caches do, has done so after a few rounds.
    for (int round = 0; round < 3; ++round) {
        work(operationsARound, 2);
        heldAtRest();
    }
    work(operationsARound, 2);
    const auto before = heldAtRest();
    work(operationsARound, 2);
    const auto after = heldAtRest();
    RecordProperty("held", std::to_string(before) + " then " + std::to_string(after));
    EXPECT_LE(after, before + allowance);
}

}  // namespace
}  // namespace vellumix
