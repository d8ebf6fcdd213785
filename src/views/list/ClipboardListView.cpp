#include "views/list/ClipboardListView.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "core/capture/PasteboardWatcher.h"
#include "core/history/EncryptionManager.h"
#include "core/history/HistorySearch.h"
#include "core/history/Store.h"
#include "delivery/FileOffer.h"
#include "delivery/PasteDelivery.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/foundation/text/Unicode.h"
#include "shell/StatusBarController.h"
#include "shell/settings/ThemeManager.h"
#include "views/card/ClipboardCard.h"
#include "views/controls/Looks.h"
#include "views/controls/Toast.h"
#include "views/list/ClipboardToolbar.h"

namespace vellumix {

using namespace view;

namespace {

using Kind = ClipboardItem::Kind;
using Items = std::vector<ClipboardItem>;

/// Entries as they were at one moment; all that goes with that moment shares them.
class Snapshot {
public:
    explicit Snapshot(Items items) : items(std::make_shared<const Items>(std::move(items))) {}
    explicit Snapshot(std::shared_ptr<const Items> items) : items(std::move(items)) {}

    const Items& operator*() const { return *items; }
    const Items* operator->() const { return items.get(); }
    friend bool operator==(const Snapshot& one, const Snapshot& other) {
        return one.items == other.items || *one == *other;
    }

private:
    std::shared_ptr<const Items> items;
};

constexpr auto selectionCurve = Curve::easeInOut(0.15);
constexpr auto firstRowCurve = Curve::easeInOut(0.18);
constexpr double centred = 0.5;
constexpr double atTheTop = 0;
/// All rows, with the room above the first and under the last.
constexpr auto rowsID = "rows";

std::string rowID(const ClipboardItem& item) { return item.id.uuidString(); }

/// What an entry's buttons and keys do. A copy belongs to one drawing of the list: it works on the entries as
/// they were then.
class ListActions {
public:
    ListActions(const ClipboardListView& list, Store& store)
        : paste_(list.onPasteAndClose),
          lock(list.onLock),
          unlock(list.onUnlock),
          requestUnlock(list.onRequestUnlock),
          itemToDelete(list.itemToDelete),
          toast(list.toast),
          store(&store) {}

    void copy(const ClipboardItem& item) const {
        withAccess(item, "auth.copyItem", [toast = this->toast](const ClipboardItem& granted) {
            // There is no touch pad to feel here: the tick and the message are all the answer.
            writeToPasteboard(granted);
            toast.show("message.copied", 1.5);
        });
    }
    void paste(const ClipboardItem& item) const {
        withAccess(item, "auth.pasteItem",
                   [toast = this->toast, paste = paste_](const ClipboardItem& granted) {
                       paste(granted);
                       toast.show("message.pasted", 1.2);
                   });
    }
    void toggleLock(const ClipboardItem& item) const {
        if (!item.locked) {
            lock(item);
            this->toast.show("message.itemLocked", 1.5);
            return;
        }
        withAccess(item, "auth.unlockItem",
                   [toast = this->toast, unlock = this->unlock](const ClipboardItem& granted) {
                       unlock(granted);
                       toast.show("message.itemUnlocked", 1.5);
                   });
    }
    void togglePin(const ClipboardItem& item) const { store->togglePin(item); }
    void askToDelete(const ClipboardItem& item) const { itemToDelete.set(item); }
    void remove(const ClipboardItem& item) const {
        store->remove(item);
        toast.show("message.itemRemoved", 1.5);
    }
    void transform(TextTransform chosen, const String& text) const {
        const auto result = apply(chosen, text);
        if (!result) {
            toast.show("transform.failed", 2.0);
            return;
        }
        auto& pasteboard = *platform::current().pasteboard;
        pasteboard.clearContents();
        pasteboard.setString(String(*result), NSPasteboardTypeString);
        toast.show("transform.applied", 1.5);
    }

private:
    /// Goes on with an entry that may be used, or says why not.
    void withAccess(const ClipboardItem& item, const char* reasonKey,
                    std::function<void(const ClipboardItem&)> goOn) const {
        requestUnlock(item, localized(reasonKey),
                      [item, toast = this->toast, goOn = std::move(goOn)](const auto& result) {
                          using Status = AuthenticationManager::Result::Status;
                          switch (result.status) {
                              case Status::success:
                                  goOn(item);
                                  break;
                              case Status::cancelled:
                                  toast.show("auth.cancelled", 1.5);
                                  break;
                              case Status::unavailable:
                                  toast.show("auth.unavailable", 2.5);
                                  break;
                              case Status::failed:
                                  toast.show("auth.failed", 2.0);
                                  break;
                          }
                      });
    }

    ClipboardListView::ItemAction paste_;
    ClipboardListView::ItemAction lock;
    ClipboardListView::ItemAction unlock;
    std::function<void(const ClipboardItem&, const String&, ClipboardListView::Answer)> requestUnlock;
    Binding<std::optional<ClipboardItem>> itemToDelete;
    ToastPresenter toast;
    Store* store;
};

std::vector<SharedItem> shareItems(const ClipboardItem& item) {
    if (item.locked) return {};
    switch (item.kind) {
        case Kind::text:
        case Kind::code:
            if (auto text = item.text()) return {*std::move(text)};
            return {};
        case Kind::image: {
            auto image = item.imageData();
            if (!image || !platform::current().imageDecoder->sizeOf(*image)) return {};
            return {*std::move(image)};
        }
        case Kind::file:
            if (auto url = item.fileURL()) return {*std::move(url)};
            return {};
        case Kind::link: {
            auto text = item.text();
            if (!text) return {};
            if (auto url = URL::parse(*text)) return {*std::move(url)};
            return {*std::move(text)};
        }
        case Kind::all:
            return {};
    }
    return {};
}

ClipboardCard card(const ClipboardItem& item, bool isSelected, const ListActions& actions) {
    return {.item = item,
            .isSelected = isSelected,
            .onPaste = [item, actions] { actions.paste(item); },
            .onCopy = [item, actions] { actions.copy(item); },
            .onDelete = [item, actions] { actions.askToDelete(item); },
            .onPin = [item, actions] { actions.togglePin(item); },
            .onLock = [item, actions] { actions.toggleLock(item); },
            .onShareItems = [item] { return shareItems(item); },
            .onTransform = [actions](TextTransform chosen,
                                     const String& text) { actions.transform(chosen, text); }};
}

View emptyState(bool isSearching) {
    const auto& theme = ThemeManager::shared();
    return VStack(Spacing(16),
                  Symbol(isSearching ? "magnifyingglass" : "clipboard")
                      .font(Font::system(40, Font::Weight::thin))
                      .foreground(theme.mutedTextColor()),
                  Text(localized(isSearching ? "empty.noResults" : "empty.noItems"))
                      .font(ThemeManager::sectionFont())
                      .foreground(theme.secondaryTextColor()),
                  Text(localized(isSearching ? "empty.tryDifferent" : "empty.getStarted"))
                      .font(ThemeManager::smallFont())
                      .foreground(theme.mutedTextColor())
                      .textAlignment(TextOptions::Alignment::centre))
        .padding(Edge::horizontal, 16)
        .frame({.maximumWidth = unbounded, .maximumHeight = unbounded});
}

/// Scrolls as often as it is asked for.
void scrollTo(const Binding<ScrollTarget>& target, std::string id, double anchor, const Curve& curve) {
    withAnimation(curve, [&] {
        target.set({.id = std::move(id), .anchor = anchor, .serial = target.get().serial + 1});
    });
}

/// To the first row, and the room above it.
void scrollToTheTop(const Binding<ScrollTarget>& target) {
    scrollTo(target, rowsID, atTheTop, firstRowCurve);
}

/// Keeps the selection within so many entries. Without any it waits until there are some again.
void clamp(const Binding<int>& selectedIndex, std::size_t count) {
    const int last = static_cast<int>(count) - 1;
    if (last >= 0 && selectedIndex.get() > last) selectedIndex.set(last);
}

/// What is searched for and filtered by. Nothing is looked for by who is drawn: each change of the question
/// looks for its answer, and so does who acts on the answer.
class ListQuestion {
public:
    ListQuestion(Store& store, Binding<String> query, Binding<Kind> category)
        : parts(std::make_shared<const Parts>(Parts{&store, std::move(query), std::move(category)})) {}

    /// The entries that answer it now, however long ago the list was drawn.
    Snapshot displayed() const {
        return Snapshot(HistorySearch::shared().found(*parts->store->items(), question()));
    }
    /// As far as is known; after the end of a search, as if nothing were searched for.
    Snapshot known(const Snapshot& items) const {
        if (auto found = HistorySearch::shared().answer(question())) return Snapshot(std::move(found));
        const auto category = parts->category.get();
        return category == Kind::all ? items : Snapshot(entriesOf(category, *items));
    }
    /// A search goes on among other entries. One that has ended with the panel doesn't begin again.
    void goOn() const {
        if (HistorySearch::shared().answer(question())) displayed();
    }
    void set(const String& query, Kind category) const {
        parts->query.set(query);
        parts->category.set(category);
        displayed();
    }

    Binding<String> query() const {
        return {
            [parts = this->parts] { return parts->query.get(); },
            [question = *this](const String& query) { question.set(query, question.parts->category.get()); }};
    }
    Binding<Kind> category() const {
        return {[parts = this->parts] { return parts->category.get(); },
                [question = *this](Kind category) { question.set(question.parts->query.get(), category); }};
    }

private:
    /// Shared by all closures of a drawing.
    struct Parts {
        Store* store;
        Binding<String> query;
        Binding<Kind> category;
    };

    HistorySearch::Question question() const { return {parts->category.get(), parts->query.get()}; }

    std::shared_ptr<const Parts> parts;
};

/// The keys of the list, for the entries that are displayed.
KeyHandler listKeys(const ListQuestion& question, const Binding<int>& selectedIndex,
                    const Binding<ScrollTarget>& target, const Action& takeFocus,
                    const ListActions& actions) {
    return [question, selectedIndex, target, takeFocus, actions](const KeyEvent& event) {
        const auto& modifiers = event.modifiers;
        if (modifiers.hasControl || modifiers.hasCommand || modifiers.hasOption) return false;
        const auto displayed = question.displayed();
        if (displayed->empty()) return false;
        const auto moveSelection = [&](int delta) {
            takeFocus();
            const int wanted = selectedIndex.get() + delta;
            if (wanted < 0 || wanted >= static_cast<int>(displayed->size())) return;
            withAnimation(selectionCurve, [&] { selectedIndex.set(wanted); });
            scrollTo(target, rowID((*displayed)[static_cast<std::size_t>(wanted)]), centred, selectionCurve);
        };
        const auto withSelected = [&](auto act) {
            const auto at = static_cast<std::size_t>(selectedIndex.get());
            // Held, as the action may draw the list anew.
            if (at < displayed->size()) act(ClipboardItem((*displayed)[at]));
        };
        switch (event.key) {
            case Key::up:
                moveSelection(-1);
                return true;
            case Key::down:
                moveSelection(+1);
                return true;
            case Key::enter:
                withSelected([&](const auto& item) { actions.paste(item); });
                return true;
            case Key::space:
                withSelected([&](const auto& item) { actions.copy(item); });
                return true;
            case Key::deleteForward:
                withSelected([&](const auto& item) { actions.askToDelete(item); });
                return true;
            default:
                return false;
        }
    };
}

AlertDescription deleteConfirmation(const std::optional<ClipboardItem>& item, const ListActions& actions) {
    if (!item) return {};
    return {.title = localized("alert.deleteItem.title"),
            .message = {},
            .buttons = {{.title = localized("cancel"), .role = AlertButton::Role::cancel, .action = {}},
                        {.title = localized("delete"),
                         .role = AlertButton::Role::destructive,
                         .action = [item = *item, actions] { actions.remove(item); }}}};
}

/// Letters that nothing else has a use for go on with the search, and Backspace takes them back.
KeyHandler searchKeys(const Binding<String>& query, const Binding<bool>& isSearchFocused) {
    return [query, isSearchFocused](const KeyEvent& event) {
        const auto& modifiers = event.modifiers;
        const bool isPlain = !modifiers.hasControl && !modifiers.hasCommand && !modifiers.hasOption;
        const bool findsByChord = modifiers.hasControl && event.character == "f";
        const bool isTyped = isPlain && event.key == Key::character && !event.text.empty();
        const bool takesBack = isPlain && event.key == Key::backspace && !query.get().empty();
        if (!findsByChord && !isTyped && !takesBack) return false;
        auto text = query.get().string();
        if (isTyped) query.set(String(text + event.text));
        if (takesBack) {
            text.resize(graphemeBoundaryBefore(text, text.size()));
            query.set(String(std::move(text)));
        }
        isSearchFocused.set(true);
        return true;
    };
}

}  // namespace

View ClipboardListView::body() const {
    const auto& theme = ThemeManager::shared();
    auto& store = **fromEnvironment<Store*>();
    const Snapshot items(store.items().get());
    const ListQuestion question(store, query, category);
    const auto displayed = question.known(items);
    const ListActions actions(*this, store);
    const ToastPresenter messages(toast);

    const auto rows = [&] {
        const int selected = selectedIndex;
        const auto row = [actions, selected, displayed](std::size_t at) {
            const auto& item = (*displayed)[at];
            const bool isSelected = static_cast<int>(at) == selected;
            // The actions of any drawing of the list do the same.
            return View(Memo([item, isSelected, actions] { return card(item, isSelected, actions); }, item,
                             isSelected));
        };
        const RowSource source{displayed->size(),
                               [displayed](std::size_t at) { return rowID((*displayed)[at]); }, row};
        return ScrollArea(LazyVStack(Spacing(4), source)
                              .padding(Edge::vertical, 8)
                              .id(rowsID)
                              .padding(Edge::horizontal, 16),
                          scrollTarget.get())
            .focusable(listFocused)
            .focusRing(std::nullopt);
    };
    const auto itemsChanged = [question, target = scrollTarget.binding(), selection = selectedIndex.binding(),
                               items] {
        question.goOn();
        if (items->empty()) return;
        scrollToTheTop(target);
        clamp(selection, items->size());
    };
    const auto displayedChanged = [selection = selectedIndex.binding(), count = displayed->size()] {
        clamp(selection, count);
    };
    // Once nothing is left of the search, the keys are the list's again: a blank copies, Delete deletes.
    const auto searchEnded = [focus = listFocused.binding(), query = query.binding()] {
        if (query.get().empty()) focus.set(true);
    };
    // From a button of one entry the arrows go on to another entry; a search goes on beside them.
    const auto takeFocus = [focus = listFocused.binding(), isSearching = isSearchFocused.binding()] {
        if (!isSearching.get()) focus.set(true);
    };
    // Who opens the panel has copied something since, or wants something else than the last time: all of it
    // is there, from the newest on.
    const auto beginAnew = [question, selection = selectedIndex.binding(), target = scrollTarget.binding()] {
        question.set(String(), Kind::all);
        selection.set(0);
        scrollToTheTop(target);
    };
    const auto toolbar = ClipboardToolbar{.searchText = question.query(),
                                          .selectedFilter = question.category(),
                                          .onClear = [&store] { store.clear(); },
                                          .isSearchFocused = isSearchFocused.binding()};
    const auto list = displayed->empty() ? emptyState(!query.get().empty()) : View(rows());
    return VStack(Spacing(0), toolbar, Divider(theme.borderColor()), list)
        .background(Rectangle(), theme.backgroundColor())
        .onChange(query.get().empty(), searchEnded)
        .onChange(items, itemsChanged)
        .onChange(displayed, displayedChanged)
        .onKey(listKeys(question, selectedIndex, scrollTarget, takeFocus, actions))
        .onKey(searchKeys(question.query(), isSearchFocused))
        .overlay(Toast{toast}, Alignment::top())
        .onReceive(StatusBarController::panelOpens, beginAnew)
        .onReceive("HistoryCleaned", messages.presenting("message.historyCleared", 1.5))
        .onReceive("AutoPasteFailed", messages.presenting("permission.accessibility.title", 2.0))
        .onReceive(FileOffer::goneNotification, messages.presenting("message.fileGone", 3.0))
        .onReceive(PasteboardWatcher::failedNotification, messages.presenting("message.copyNotRecorded", 2.5))
        .onReceive(EncryptionManager::failedNotification, messages.presenting("error.encryption.failed", 2.5))
        .alert(Binding<bool>([item = itemToDelete.binding()] { return item.get().has_value(); },
                             [item = itemToDelete.binding()](bool isShown) {
                                 if (!isShown) item.set(std::nullopt);
                             }),
               deleteConfirmation(itemToDelete.get(), actions));
}

}  // namespace vellumix
