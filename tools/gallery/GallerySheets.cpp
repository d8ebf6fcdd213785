#include <string>
#include <utility>

#include "core/history/EncryptionManager.h"
#include "gallery/Gallery.h"
#include "gallery/GallerySamples.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/view/values/Views.h"
#include "platform/view/windows/AlertWindow.h"
#include "platform/view/windows/HelpTip.h"
#include "platform/view/windows/PopUpMenu.h"
#include "shell/AppDelegate.h"
#include "shell/settings/ThemeManager.h"
#include "views/card/ClipboardCard.h"
#include "views/controls/FlatControls.h"
#include "views/controls/Looks.h"
#include "views/controls/Pickers.h"
#include "views/list/ClipboardToolbar.h"
#include "views/panel/HeaderView.h"
#include "views/panel/PasswordPrompt.h"
#include "views/panel/RootContainerView.h"
#include "views/panel/UpdateWindow.h"

namespace vellumix {

using namespace view;

namespace {

constexpr double cardWidth = 460;
constexpr double panelWidth = 520;

ClipboardCard cardOf(const ClipboardItem& item, bool isSelected = false) {
    return {.item = item,
            .isSelected = isSelected,
            .onPaste = [] {},
            .onCopy = [] {},
            .onDelete = [] {},
            .onPin = [] {},
            .onLock = [] {},
            .onShareItems = [] { return std::vector<SharedItem>(); },
            .onTransform = [](TextTransform, const String&) {}};
}

/// As high as it wants to be, as in the list.
View inList(const ClipboardCard& card) { return ScrollArea(card); }

ClipboardToolbar toolbar(const char* text, ClipboardItem::Kind filter) {
    return {.searchText = Binding<String>(String(text)),
            .selectedFilter = Binding<ClipboardItem::Kind>(filter),
            .onClear = [] {}};
}

HeaderView header(ViewState state) {
    return {.currentView = state, .onNavigate = [](ViewState) {}};
}

std::function<void(GalleryStage&)> hovered(Role role, std::string label) {
    return [role, label = std::move(label)](GalleryStage& stage) { stage.hover(role, label); };
}
std::function<void(GalleryStage&)> clicked(Role role, std::string label) {
    return [role, label = std::move(label)](GalleryStage& stage) { stage.click(role, label); };
}
void focused(GalleryStage& stage) { stage.focusNext(); }

GallerySheet components() {
    const auto checkbox = [](bool isOn) {
        return FlatCheckbox{.label = "Sync with my other computers", .isOn = Binding<bool>(isOn)};
    };
    const auto capsule = [](std::optional<std::string> icon) {
        return FlatCapsuleButton{.title = "Restore Default", .icon = std::move(icon), .action = [] {}};
    };
    const auto themes = [](ThemeMode theme) {
        return ThemePicker{.selectedTheme = Binding<ThemeMode>(theme)};
    };
    const auto language = [](AppLanguage chosen) {
        return LanguagePicker{.selectedLanguage = Binding<AppLanguage>(chosen)};
    };
    const auto section = [checkbox] {
        return VStack(Spacing(8), Alignment::leading(),
                      {checkbox(true), FlatDivider{},
                       Text("One line of words that explains the box above.")
                           .font(ThemeManager::captionFont())
                           .foreground(ThemeManager::shared().mutedTextColor())});
    };
    const Size small{240, 40};
    return {
        "components",
        3,
        {{"checkbox, off", checkbox(false), small, {}},
         {"checkbox, on", checkbox(true), small, {}},
         {"checkbox, hovered", checkbox(false), small,
          hovered(Role::checkbox, "Sync with my other computers")},
         {"capsule", capsule({}), small, {}},
         {"capsule with a symbol, hovered", capsule("arrow.uturn.backward"), small,
          hovered(Role::button, "Restore Default")},
         {"capsule, focused", capsule("arrow.uturn.backward"), small, focused},
         {"themes, Light chosen", themes(ThemeMode::light), small, {}},
         {"themes, Dark chosen", themes(ThemeMode::dark), small, {}},
         {"themes, the other hovered", themes(ThemeMode::light), small, hovered(Role::radioButton, "Dark")},
         {"language of the desktop", language(AppLanguage::system), small, {}},
         {"language, hovered", language(AppLanguage::ptBR), small,
          hovered(Role::menuButton, localized("settings.language"))},
         {"language, focused", language(AppLanguage::es), small, focused},
         {"section", SettingsSection{.title = "Sync", .content = section}, {240, 140}, {}}}};
}

GallerySheet cards() {
    const auto samples = Samples::make();
    const auto collapsed = [](std::string caption, const ClipboardItem& item) {
        return GalleryCell{std::move(caption), cardOf(item), {cardWidth, 62}, {}};
    };
    auto pinned = samples.link;
    pinned.pinned = true;
    return {"cards",
            2,
            {collapsed("text", samples.text),
             collapsed("code", samples.code),
             collapsed("link", samples.link),
             collapsed("image", samples.image),
             collapsed("file", samples.file),
             collapsed("locked and pinned", samples.locked),
             collapsed("pinned link", pinned),
             collapsed("text from right to left", samples.rightToLeft),
             collapsed("emoji", samples.emoji),
             collapsed("a word wider than the card", samples.longWord),
             collapsed("an image that can't be read", samples.brokenImage),
             collapsed("a file without an address", samples.fileWithoutURL),
             {"selected", cardOf(samples.code, true), {cardWidth, 62}, {}},
             {"focused", cardOf(samples.code), {cardWidth, 62}, focused}}};
}

GallerySheet cardStates() {
    const auto samples = Samples::make();
    const auto states = [&](std::string caption, Role role, const std::string& key) {
        return GalleryCell{std::move(caption),
                           cardOf(samples.text),
                           {cardWidth, 62},
                           hovered(role, key.empty() ? samples.text.text()->string() : localized(key))};
    };
    return {
        "card-states",
        2,
        {states("hovered", Role::text, ""),
         states("copy, hovered", Role::button, "action.copy"),
         states("transform, hovered", Role::menuButton, "transform.menu"),
         states("share, hovered", Role::menuButton, "action.share"),
         states("pin, hovered", Role::button, "action.pin"),
         states("delete, hovered", Role::button, "delete"),
         {"copied", cardOf(samples.text), {cardWidth, 62}, clicked(Role::button, localized("action.copy"))},
         {"locked, share hovered",
          cardOf(samples.locked),
          {cardWidth, 62},
          hovered(Role::menuButton, localized("action.share"))},
         {"code, expanded",
          inList(cardOf(samples.code)),
          {cardWidth, 240},
          clicked(Role::text, samples.code.text()->string())},
         {"image, expanded",
          inList(cardOf(samples.image)),
          {cardWidth, 240},
          clicked(Role::text, "2000 × 1000 px")},
         {"text, expanded and selected",
          inList(cardOf(samples.paragraph, true)),
          {cardWidth, 220},
          clicked(Role::text, samples.paragraph.text()->string())},
         {"long word, expanded",
          inList(cardOf(samples.longWord)),
          {cardWidth, 220},
          clicked(Role::text, samples.longWord.text()->string())}}};
}

GallerySheet bars() {
    using Kind = ClipboardItem::Kind;
    const Size bar{panelWidth, 60};
    const Size tools{panelWidth, 124};
    return {"bars",
            1,
            {{"header of the history", header(ViewState::clipboard), bar, {}},
             {"header of the history, hovered", header(ViewState::clipboard), bar,
              hovered(Role::button, localized("accessibility.settings"))},
             {"header of the settings, focused", header(ViewState::settings), bar, focused},
             {"toolbar, empty", toolbar("", Kind::all), tools, {}},
             {"toolbar with a text, chip hovered", toolbar("quarterly rep", Kind::code), tools,
              hovered(Role::radioButton, localized("category.link"))},
             {"toolbar, clear button hovered", toolbar("", Kind::file), tools,
              hovered(Role::button, localized("action.clearHistory"))}}};
}

/// The whole program's content, over these entries.
GalleryCell page(std::string caption, Size size, std::vector<ClipboardItem> items,
                 std::function<void(GalleryStage&)> act = {}) {
    const auto application = std::make_shared<AppDelegate>();
    application->store().replaceAll(std::move(items));
    const auto root =
        View(RootContainerView{}).environment(&application->store()).environment(application.get());
    return {std::move(caption), root, size, std::move(act), application};
}

GallerySheet pages() {
    const Size size{panelWidth, 450};
    const auto history = Samples::make().history();
    const auto showError = [](GalleryStage& stage) {
        NotificationCenter::defaultCenter().post(EncryptionManager::failedNotification);
        // The message comes on the loop's next turn, and would go again if time passed.
        bool isNextTurn = false;
        onMain([&] { isNextTurn = true; });
        RunLoop::main().runUntil([&] { return isNextTurn; });
        stage.settled();
    };
    return {"pages",
            2,
            {page("history", size, history, focused),
             page("search", size, history, [](GalleryStage& stage) { stage.type("bread"); }),
             page("nothing found", size, history, [](GalleryStage& stage) { stage.type("zebra"); }),
             page("no history", size, {}),
             page("settings", size, {}, clicked(Role::button, localized("accessibility.settings"))),
             page("error", size, history, showError)}};
}

GallerySheet popUps() {
    const auto palette = controlPalette();
    const Chrome chrome{.shadowRoom = Insets::all(24), .isTranslucent = true};
    MenuRequest transforms{.palette = palette};
    for (const auto transform : allTextTransforms) {
        transforms.items.push_back({.title = title(transform), .symbol = std::string(icon(transform))});
    }
    transforms.items[4].isEnabled = false;
    MenuRequest languages{.palette = palette};
    for (const auto language : allAppLanguages) {
        languages.items.push_back(
            {.title = displayName(language), .isChecked = language == AppLanguage::system});
    }
    languages.items.insert(languages.items.begin() + 1, {.isSeparator = true});
    const AlertDescription deletion{
        .title = localized("alert.deleteItem.title"),
        .buttons = {{.title = localized("cancel"), .role = AlertButton::Role::cancel},
                    {.title = localized("delete"), .role = AlertButton::Role::destructive}}};
    const AlertDescription clean{
        .title = localized("autoClean.dialog.title"),
        .message = localized("autoClean.dialog.message"),
        .buttons = {{.title = localized("cancel"), .role = AlertButton::Role::cancel},
                    {.title = localized("clear")}}};
    const auto prompt = [](const std::string& error) {
        return PasswordPrompt::content({.reason = localized("auth.pasteItem"),
                                        .cancelTitle = localized("cancel"),
                                        .confirmTitle = localized("auth.enterPassword")},
                                       "Password:", error);
    };
    auto& renderer = Renderer::shared();
    const Size menu{200, 270};
    const Size small{300, 130};
    const auto framed = [](const View& content, double width, double height) {
        return content.frame(width, height).padding(12);
    };
    return {"pop-ups",
            2,
            {{"menu", framed(menuContent(transforms, 1, chrome), 190, 270), {230, 300}, {}},
             {"menu with a check mark", framed(menuContent(languages, {}, chrome), 190, 128), menu, {}},
             {"alert, destructive", alertContent(deletion, palette, renderer), {320, 130}, {}},
             {"alert with a message", alertContent(clean, palette, renderer), {320, 170}, {}},
             {"password", prompt(""), {320, 210}, {}},
             {"password, after a wrong one", prompt(localized("auth.failed")), {320, 210}, {}},
             {"help text",
              framed(helpContent({.text = localized("action.copy"), .palette = palette}, chrome), 60, 22),
              small,
              {}},
             {"progress", ProgressIndicator(), small, {}}}};
}

GallerySheet updates() {
    const char* const notes =
        "The search is twice as fast in long histories.\n\n"
        "– Pictures keep their place in the list while they are being read.\n"
        "– A file that was cut in one folder can be pasted in another, also when its name holds a line "
        "break.\n"
        "– The panel opens on the screen that the pointer is on.\n\n"
        "Mended: the tray’s icon came back only after a new start when the bar had been restarted; a locked "
        "entry "
        "could be seen for a moment after the screen was unlocked; and the program no longer asks for the "
        "keyring twice.\n\nThanks to all who wrote.";
    const auto window = [](const UpdatePrompt::Stage& stage, double height) {
        return GalleryCell{.content = UpdateWindow::content(stage), .size = {420, height}};
    };
    return {
        "updates",
        2,
        {window(UpdatePrompt::Offer{"1.4.0", "1.3.2", notes}, 330),
         window(UpdatePrompt::Offer{"1.4.0", "1.3.2", "One line."}, 330),
         window(UpdatePrompt::Offer{"1.4.0", "1.3.2", ""}, 140), window(UpdatePrompt::Checking{}, 140),
         window(UpdatePrompt::Progress{"1.4.0", 0.37}, 140), window(UpdatePrompt::Progress{"1.4.0", 0}, 140),
         window(UpdatePrompt::Message{localized("updates.handedOver", std::string("1.4.0"))}, 140),
         window(UpdatePrompt::Message{localized("updates.failed.notAsAnnounced")}, 140)}};
}

GallerySheet panelOf(double width, double height) {
    const auto name =
        std::to_string(static_cast<int>(width)) + "x" + std::to_string(static_cast<int>(height));
    return {"panel-" + name, 1, {page("", {width, height}, Samples::make().history())}};
}

}  // namespace

std::vector<GallerySheet> gallerySheets() {
    return {components(),      cards(),           cardStates(), bars(),
            pages(),           popUps(),          updates(),    panelOf(panelWidth, 620),
            panelOf(320, 500), panelOf(800, 1000)};
}

}  // namespace vellumix
