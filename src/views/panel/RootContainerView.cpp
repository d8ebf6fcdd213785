#include "views/panel/RootContainerView.h"

#include "core/history/HistorySearch.h"
#include "core/history/Store.h"
#include "protection/LockCoordinator.h"
#include "shell/AppDelegate.h"
#include "shell/settings/LanguageManager.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/Looks.h"
#include "views/list/ClipboardListView.h"
#include "views/panel/SettingsContentView.h"

namespace vellumix {

using namespace view;

namespace {

constexpr auto navigation = Curve::easeInOut(0.2);

ClipboardListView listOf(AppDelegate& application) {
    return {
        .onPasteAndClose = [&application](const ClipboardItem& item) { application.pasteAndClose(item); },
        .onLock = [&application](const ClipboardItem& item) { application.store().setLocked(item, true); },
        .onUnlock =
            [&application](const ClipboardItem& item) {
                application.lockCoordinator().temporarilyUnlocked.erase(item.id);
            },
        .onRequestUnlock =
            [&application](const ClipboardItem& item, const String& reason,
                           ClipboardListView::Answer answer) {
                application.lockCoordinator().requestAccess(item, reason.string(), std::move(answer));
            },
    };
}

}  // namespace

View RootContainerView::body() const {
    const auto& theme = ThemeManager::shared();
    const auto& language = LanguageManager::shared();
    auto& application = **fromEnvironment<AppDelegate*>();
    const auto onNavigate = [page = currentView.binding()](ViewState target) {
        withAnimation(navigation, [&] { page.set(target); });
    };
    const bool isList = currentView.get() == ViewState::clipboard;
    const auto page = isList ? View(listOf(application)) : View(SettingsContentView{});
    const auto identity = std::string(rawValue(theme.currentTheme.get())) + '-' +
                          std::string(rawValue(language.currentLanguage.get()));
    const auto stack = VStack(Spacing(0), HeaderView{.currentView = currentView, .onNavigate = onNavigate},
                              Divider(theme.borderColor()),
                              // Of the same name they would be one view, which neither comes nor goes.
                              ZStack(page.transition(Transition::opacity().with(Transition::scaleFrom(0.98)))
                                         .id(isList ? "clipboard" : "settings"))
                                  .frame({.maximumWidth = unbounded, .maximumHeight = unbounded}));
    // With the list goes what was typed in it.
    const auto searchEnded = [] { HistorySearch::shared().forget(); };
    const auto showSettings = [page = currentView.binding()] { page.set(ViewState::settings); };
    return themed(stack.id(identity)
                      .background(Rectangle(), theme.backgroundColor())
                      .animation(navigation, currentView)
                      .onChange(currentView.get(), searchEnded)
                      .onChange(identity, searchEnded)
                      .onReceive(StatusBarController::settingsRequested, showSettings));
}

}  // namespace vellumix
