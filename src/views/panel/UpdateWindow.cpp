#include "views/panel/UpdateWindow.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/Published.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/view/values/Views.h"
#include "platform/view/windows/AttachedWindow.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/FlatControls.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

namespace {

constexpr double width = 420;
constexpr double margin = 20;
constexpr double notesHeight = 180;
constexpr double shortNotesHeight = 84;

View line(const std::string& text) {
    return Text(text).font(ThemeManager::smallFont()).foreground(ThemeManager::shared().secondaryTextColor());
}

View heading(const std::string& symbol, const std::string& title, const View& below) {
    return HStack(
        Spacing(12), Alignment::top(),
        {Symbol(symbol).font(Font::system(20)),
         VStack(Spacing(4), Alignment::leading(),
                {Text(title).font(ThemeManager::headingFont()).semantics(Role::heading, title), below})
             .fillWidth(Alignment::leading())});
}

/// A bar that is filled from its leading end.
View bar(double fraction) {
    constexpr double height = 6;
    constexpr double length = width - 2 * margin;
    const auto& theme = ThemeManager::shared();
    const auto percent = std::to_string(static_cast<int>(std::floor(100 * fraction))) + " %";
    return ZStack(
               Alignment::leading(),
               {ShapeView(Capsule(), theme.selectedFillColor()).frame(length, height),
                ShapeView(Capsule(), theme.accentColor()).frame(std::max(height, fraction * length), height)})
        .semantics({.role = Role::progressIndicator, .label = localized("updates.title"), .value = percent});
}

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    for (std::size_t end = 0; end != std::string_view::npos;
         text.remove_prefix(std::min(end + 1, text.size()))) {
        end = text.find('\n');
        lines.emplace_back(text.substr(0, end));
    }
    return lines;
}

/// A text in a box, which the wheel scrolls, and the up and down keys line by line.
struct Notes {
    std::string text;
    State<int> top = 0;

    View body() const {
        const auto& theme = ThemeManager::shared();
        const auto lines = linesOf(text);
        const int last = static_cast<int>(lines.size()) - 1;
        // The first is the margin above the lines, which scrolls with them.
        std::vector<int> numbers(lines.size() + 1);
        std::iota(numbers.begin(), numbers.end(), -1);
        const auto rows = LazyVStack(
            Spacing(2), numbers, [](int number) { return std::to_string(number); },
            [lines](int number) {
                if (number < 0) return Text(" ").font(Font::system(5));
                const auto& words = lines[static_cast<std::size_t>(number)];
                return Text(words.empty() ? " " : words).fillWidth(Alignment::leading());
            });
        const auto scroll = [top = top, last](const KeyEvent& event) {
            const int step = event.key == Key::down ? 1 : event.key == Key::up ? -1 : 0;
            if (step) top.set(std::clamp(top.get() + step, 0, last));
            return step != 0;
        };
        constexpr std::size_t fewLines = 4;
        constexpr std::size_t fewLetters = 160;
        const bool isShort = lines.size() <= fewLines && text.size() <= fewLetters;
        return ScrollArea(rows.font(ThemeManager::smallFont())
                              .padding(Edge::horizontal, 10)
                              .padding(Edge::bottom, 10),
                          ScrollTarget{.id = std::to_string(top.get() > 0 ? top.get() : -1), .anchor = 0})
            .frame({.height = isShort ? shortNotesHeight : notesHeight, .maximumWidth = unbounded})
            .semantics(Role::scrollArea, localized("updates.notes"))
            .background(RoundedRectangle(6), theme.surfaceColor(), Outline{theme.controlStrokeColor(), 1})
            .onKey(scroll);
    }
};

/// The button that the window is there for.
struct MainButton {
    std::string title;
    Action action;
    State<bool> isHovering = false;

    View body() const {
        const auto fill = ThemeManager::shared().accentColor();
        return Button(action, Text(title)
                                  .font(ThemeManager::smallFont())
                                  .lineLimit(1)
                                  .foreground(readableOn(fill))
                                  .padding(Edge::horizontal, 12)
                                  .padding(Edge::vertical, 4))
            .background(Capsule(), isHovering ? fill.withOpacity(0.85) : fill)
            .onHover(isHovering, Cursor::pointingHand)
            .animation(looks::hover, isHovering)
            .focusRing(Capsule())
            .semantics(Role::button, title);
    }
};

}  // namespace

struct UpdateWindow::Model {
    Manner manner = Manner::asked;
    Published<Stage> stage;
    std::function<void(Answer answer)> onAnswer;

    void answer(Answer given) const {
        // A copy, as it may destroy the window, and this with it.
        if (const auto handler = onAnswer) handler(given);
    }
};

struct UpdateWindow::Form {
    std::shared_ptr<Model> model;

    View body() const {
        return themed(std::visit([this](const auto& stage) { return of(stage); }, model->stage.get())
                          .padding(margin)
                          .frame({.width = width, .maximumHeight = unbounded, .alignment = Alignment::top()})
                          .background(Rectangle(), ThemeManager::shared().backgroundColor())
                          .semantics(Role::alert, localized("updates.title")));
    }

    View of(const UpdatePrompt::Checking&) const {
        return VStack(Spacing(16),
                      HStack(Spacing(10), ProgressIndicator(),
                             Text(localized("updates.checking")).fillWidth(Alignment::leading())),
                      row({quiet("cancel", Answer::close).windowAction(WindowAction::cancel)}));
    }

    View of(const UpdatePrompt::Offer& offer) const {
        const auto install = main("updates.install", Answer::install);
        return VStack(
            Spacing(14),
            heading("arrow.triangle.2.circlepath", localized("updates.offer", offer.version),
                    line(localized("updates.installed", offer.present))),
            If(!offer.notes.empty(), Notes{offer.notes}),
            row({quiet("updates.skip", Answer::skip), Spacer(),
                 quiet("updates.later", Answer::later).windowAction(WindowAction::cancel),
                 model->manner == Manner::asked ? install.windowAction(WindowAction::accept) : install}));
    }

    View of(const UpdatePrompt::Progress& progress) const {
        const auto title = localized("updates.downloading", progress.version);
        return VStack(Spacing(14), Text(title).fillWidth(Alignment::leading()), bar(progress.fraction),
                      row({quiet("cancel", Answer::close).windowAction(WindowAction::cancel)}));
    }

    View of(const UpdatePrompt::Message& message) const {
        return VStack(Spacing(16), Text(message.text).fillWidth(Alignment::leading()),
                      row({main("ok", Answer::close).windowAction(WindowAction::accept)}));
    }

    Action action(Answer answer) const {
        return [model = model, answer] { model->answer(answer); };
    }
    View quiet(const std::string& key, Answer answer) const {
        return View(FlatCapsuleButton{.title = localized(key), .icon = {}, .action = action(answer)})
            .layoutPriority(1);
    }
    View main(const std::string& key, Answer answer) const {
        return View(MainButton{localized(key), action(answer)}).layoutPriority(1);
    }
    /// At the trailing end, unless there is a spacer in it.
    static View row(std::vector<View> buttons) {
        return HStack(Spacing(8), Alignment::centre(), std::move(buttons)).fillWidth(Alignment::trailing());
    }
};

View UpdateWindow::content(const Stage& stage) {
    const auto model = std::make_shared<Model>();
    model->stage.set(stage);
    return Form{model};
}

UpdateWindow::UpdateWindow(Manner manner, const Stage& stage, std::function<void(Answer answer)> onAnswer)
    : model(std::make_shared<Model>()) {
    model->manner = manner;
    model->onAnswer = std::move(onAnswer);
    model->stage.set(stage);
    auto& windows = *platform::current().windows;
    auto& renderer = Renderer::shared();
    const Form form{model};
    const auto size = fittingSize(form, renderer, width);
    const auto screen = windows.mainScreen();
    const auto around = screen ? screen->visibleFrame : Rect{{}, size};
    const Rect frame{{around.centre().x - size.width / 2, around.centre().y - size.height / 2}, size};
    window = windows.makeWindow(
        {.kind = NSWindow::Kind::titled, .frame = frame, .title = localized("updates.title")});
    hostingView = std::make_unique<HostingView>(*window, View(form), renderer);
    hostingView->onUnhandledKey([model = this->model](const KeyEvent& event) {
        if (event.key != Key::escape) return false;
        model->answer(Answer::close);
        return true;
    });
    closing = hostingView->observeClose([model = this->model] { model->answer(Answer::close); });
    hostingView->orderFront();
    if (manner == Manner::asked) window->makeKeyWindow();
}

UpdateWindow::~UpdateWindow() { hostingView->orderOut(); }

void UpdateWindow::show(const Stage& stage) {
    const bool isOther = stage.index() != model->stage.get().index();
    model->stage.set(stage);
    if (!isOther) return;
    const auto before = window->frame();
    const auto size = fittingSize(Form{model}, Renderer::shared(), width);
    window->setFrame({{before.minX(), before.centre().y - size.height / 2}, size});
}

void UpdateWindow::raise() {
    hostingView->orderFront();
    window->makeKeyWindow();
}

}  // namespace vellumix
