#include "platform/view/windows/PopUpMenu.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/Published.h"
#include "platform/foundation/text/Unicode.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

/// What the rows of an open menu show.
struct MenuModel {
    struct Highlight {
        std::optional<std::size_t> item;
        /// How often the highlighted item was to be brought into sight.
        int reveals = 0;
    };

    std::vector<MenuItem> items;
    ControlPalette palette;
    Published<Highlight> highlight;
    /// Null once the menu has gone, which one of them may bring about while it runs.
    std::function<void(std::size_t)> onChoice;
    std::function<void(std::size_t, bool)> onHover;
    std::function<void(const KeyEvent&)> onKey;

    void choose(std::size_t item) const {
        if (const auto handler = onChoice) handler(item);
    }
    void hover(std::size_t item, bool isOver) const {
        if (const auto handler = onHover) handler(item, isOver);
    }
    void press(const KeyEvent& event) const {
        if (const auto handler = onKey) handler(event);
    }
    bool has(bool (*kind)(const MenuItem&)) const { return std::ranges::any_of(items, kind); }
};

namespace {

constexpr double rowHeight = 26;
constexpr double columnWidth = 16;
constexpr double listPadding = 5;
constexpr double cornerRadius = 8;
constexpr double minimumWidth = 140;

bool canBeChosen(const MenuItem& item) { return item.isEnabled && !item.isSeparator; }

struct MenuRow {
    std::shared_ptr<const MenuModel> model;
    std::size_t at = 0;

    View body() const {
        const auto& item = model->items[at];
        const auto& palette = model->palette;
        const bool isLit = model->highlight->item == at;
        const auto plain = isLit ? readableOn(palette.accent) : palette.text;
        const auto column = [](bool isNeeded, const View& symbol) {
            return If(isNeeded, symbol.font(Font::system(12)).frame(columnWidth, columnWidth));
        };
        const auto mark = item.isChecked ? View(Symbol("checkmark")) : View();
        const auto symbol = item.symbol.empty() ? View() : View(Symbol(item.symbol));
        const auto content =
            HStack(Spacing(7), column(model->has([](const MenuItem& one) { return one.isChecked; }), mark),
                   column(model->has([](const MenuItem& one) { return !one.symbol.empty(); }), symbol),
                   Text(item.title).font(Font::system(13)).lineLimit(1).padding(Edge::trailing, 12))
                .foreground(item.isEnabled ? plain : palette.secondaryText.withOpacity(0.6));
        const auto semantics = Semantics{.role = Role::menuItem,
                                         .label = item.title,
                                         .state = {.isSelected = isLit, .isChecked = item.isChecked}};
        return content.padding(Edge::horizontal, 8)
            .frame({.height = rowHeight, .maximumWidth = unbounded, .alignment = Alignment::leading()})
            .background(RoundedRectangle(5), isLit ? palette.accent : Color::clear())
            .onHover([model = model, at = at](bool isOver) { model->hover(at, isOver); })
            .onTap([model = model, at = at] { model->choose(at); })
            .semantics(semantics)
            .disabled(!item.isEnabled);
    }
};

struct MenuList {
    std::shared_ptr<const MenuModel> model;

    View body() const {
        std::vector<std::size_t> places(model->items.size());
        for (std::size_t at = 0; at < places.size(); ++at) places[at] = at;
        const auto row = [model = model](std::size_t at) -> View {
            if (model->items[at].isSeparator) {
                return Divider(model->palette.border).padding(Edge::vertical, 5).padding(Edge::horizontal, 8);
            }
            return MenuRow{model, at};
        };
        const auto name = [](std::size_t at) { return std::to_string(at); };
        return VStack(Spacing(0), ForEach(places, name, row)).padding(listPadding);
    }
};

struct MenuWindow {
    std::shared_ptr<const MenuModel> model;
    Chrome chrome;

    View body() const {
        const auto& highlight = *model->highlight;
        const auto target = highlight.item && highlight.reveals > 0
                                ? std::optional(ScrollTarget{.id = std::to_string(*highlight.item),
                                                             .serial = highlight.reveals})
                                : std::nullopt;
        const auto list = ScrollArea(MenuList{model}, target).clip(RoundedRectangle(cornerRadius));
        return floating(list, cornerRadius, model->palette, chrome)
            .foreground(model->palette.text)
            // All of them: the rows have no focus, and those of the window would give them one.
            .onKey([model = model](const KeyEvent& event) {
                model->press(event);
                return true;
            })
            .semantics(Role::menu, "");
    }
};

}  // namespace

View menuContent(const MenuRequest& request, std::optional<std::size_t> highlighted, const Chrome& chrome) {
    const auto model = std::make_shared<MenuModel>();
    model->items = request.items;
    model->palette = request.palette;
    model->highlight.set({.item = highlighted});
    return MenuWindow{model, chrome};
}

PopUpMenu::PopUpMenu(const MenuRequest& request, const Rect& anchor, const Rect& bounds, Renderer& renderer,
                     End onEnd)
    : model(std::make_shared<MenuModel>()), onEnd(std::move(onEnd)), anchor(anchor) {
    this->model->items = request.items;
    this->model->palette = request.palette;
    this->model->onChoice = [this](std::size_t item) { choose(item); };
    this->model->onHover = [this](std::size_t item, bool isOver) { hover(item, isOver); };
    this->model->onKey = [this](const KeyEvent& event) { keyPressed(event); };
    auto size = fittingSize(MenuList{this->model}, renderer);
    size.width = std::min(std::max({size.width, anchor.size.width, minimumWidth}), bounds.size.width);
    size.height = std::min(size.height, bounds.size.height);
    constexpr double gap = 3;
    window = std::make_unique<AttachedWindow>(
        NSWindow::Options{.kind = NSWindow::Kind::menu, .frame = placedUnder(anchor, size, gap, bounds)},
        [model = this->model](const Chrome& chrome) -> View {
            return MenuWindow{model, chrome};
        },
        renderer);
    auto& host = window->host();
    host.window().setCornerRadius(cornerRadius);
    keyState = host.observeKeyState([this](bool isKey) {
        if (!isKey) close();
    });
    closing = host.observeClose([this] { close(); });
    pressesElsewhere = platform::current().windows->addGlobalMonitorForMouseDown([this] { close(); });
    host.orderFront();
    host.window().makeKeyWindow();
}

PopUpMenu::~PopUpMenu() {
    model->onChoice = nullptr;
    model->onHover = nullptr;
    model->onKey = nullptr;
    window->host().orderOut();
}

void PopUpMenu::dragged(Point pointer) {
    auto& host = window->host();
    const auto insets = host.window().shadowInsets();
    host.tree().pointerMoved(pointer - host.window().frame().origin + Point{insets.leading, insets.top});
}

void PopUpMenu::released(Point pointer) {
    dragged(pointer);
    if (const auto item = model->highlight.get().item; item && window->window().frame().contains(pointer)) {
        return choose(*item);
    }
    if (!anchor.contains(pointer) && !window->window().frame().contains(pointer)) close();
}

void PopUpMenu::hover(std::size_t item, bool isOver) {
    if (restingPointer == platform::current().windows->mouseLocation()) return;
    restingPointer.reset();
    if (isOver && canBeChosen(model->items[item])) {
        highlight(item);
    } else if (!isOver && model->highlight.get().item == item) {
        highlight(std::nullopt);
    }
}

void PopUpMenu::highlight(std::optional<std::size_t> item) {
    model->highlight.update([&](MenuModel::Highlight& highlight) { highlight.item = item; });
}

void PopUpMenu::step(std::size_t from, std::size_t by, const std::function<bool(const MenuItem&)>& passes) {
    const auto count = model->items.size();
    for (std::size_t tried = 1; tried <= count; ++tried) {
        const auto at = (from + tried * by) % count;
        const auto& item = model->items[at];
        if (!canBeChosen(item) || (passes && !passes(item))) continue;
        restingPointer = platform::current().windows->mouseLocation();
        model->highlight.update([&](MenuModel::Highlight& highlight) {
            highlight.item = at;
            ++highlight.reveals;
        });
        return;
    }
}

void PopUpMenu::keyPressed(const KeyEvent& event) {
    const auto count = model->items.size();
    const auto last = count - 1;
    const auto lit = model->highlight.get().item;
    switch (event.key) {
        case Key::down:
            return step(lit.value_or(last), 1);
        case Key::up:
            return step(lit.value_or(0), last);
        case Key::home:
            return step(last, 1);
        case Key::end:
            return step(0, last);
        case Key::enter:
        case Key::space:
            if (lit) choose(*lit);
            return;
        case Key::escape:
        case Key::left:
        case Key::tab:
            return close();
        default:
            break;
    }
    const auto letter = lowercased(event.text);
    if (letter.empty()) return;
    step(lit.value_or(last), 1,
         [&](const MenuItem& item) { return lowercased(item.title).starts_with(letter); });
}

void PopUpMenu::choose(std::size_t item) {
    if (!canBeChosen(model->items[item])) return;
    const auto action = model->items[item].action;
    if (const auto end = std::exchange(onEnd, nullptr)) end(action ? action : [] {});
}

void PopUpMenu::close() {
    if (const auto end = std::exchange(onEnd, nullptr)) end({});
}

}  // namespace vellumix::view
