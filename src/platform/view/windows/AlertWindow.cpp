#include "platform/view/windows/AlertWindow.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

constexpr double width = 300;
constexpr double margin = 20;
constexpr double buttonHeight = 28;
constexpr double buttonGap = 8;
constexpr double buttonMargin = 10;
constexpr Font buttonFont = Font::system(13, Font::Weight::medium);

using AnswerHandler = std::function<void(std::optional<std::size_t>)>;

std::optional<std::size_t> firstOf(const AlertDescription& alert, bool (*passes)(const AlertButton&)) {
    const auto found = std::ranges::find_if(alert.buttons, passes);
    if (found == alert.buttons.end()) return std::nullopt;
    return static_cast<std::size_t>(found - alert.buttons.begin());
}

std::optional<std::size_t> cancelButton(const AlertDescription& alert) {
    return firstOf(alert, [](const AlertButton& one) { return one.role == AlertButton::Role::cancel; });
}

bool fitSideBySide(const AlertDescription& alert, Renderer& renderer) {
    const auto count = static_cast<double>(alert.buttons.size());
    const double room = (width - 2 * margin - (count - 1) * buttonGap) / count;
    return std::ranges::all_of(alert.buttons, [&](const AlertButton& button) {
        const auto title = renderer.texts().set(button.title, {.font = buttonFont});
        return title->size().width + 2 * buttonMargin <= room;
    });
}

struct AlertButtonView {
    AlertButton button;
    ControlPalette palette;
    bool isDefault = false;
    Action action;
    State<bool> isHovering = false;

    View body() const {
        const bool isDestructive = button.role == AlertButton::Role::destructive;
        const auto strong = isDestructive ? palette.danger : palette.accent;
        const auto quiet = isDestructive ? palette.danger : palette.text;
        const RoundedRectangle shape(6);
        const auto title = Text(button.title)
                               .lineLimit(1)
                               .font(buttonFont)
                               .foreground(isDefault ? readableOn(strong) : quiet)
                               .padding(Edge::horizontal, buttonMargin)
                               .frame({.height = buttonHeight, .maximumWidth = unbounded});
        const auto ground = isDefault ? title.background(shape, strong)
                                      : title.background(shape, palette.hover, Outline{palette.border});
        const auto lit = ground.overlay(ShapeView(
            shape,
            isHovering
                ? readableOn(isDefault ? strong : palette.background).withOpacity(isDefault ? 0.12 : 0.05)
                : Color::clear()));
        const auto view = Button(action, lit).onHover(isHovering);
        const auto accepting = isDefault ? view.windowAction(WindowAction::accept) : view;
        return button.role == AlertButton::Role::cancel ? accepting.windowAction(WindowAction::cancel)
                                                        : accepting;
    }
};

struct AlertContent {
    AlertDescription alert;
    ControlPalette palette;
    bool isSideBySide = true;
    AnswerHandler answer;

    View body() const {
        const auto texts =
            VStack(Spacing(6),
                   Text(alert.title)
                       .font(Font::system(13, Font::Weight::semibold))
                       .foreground(palette.text)
                       .semantics(Role::heading, alert.title),
                   If(!alert.message.empty(),
                      Text(alert.message).font(Font::system(11)).foreground(palette.secondaryText)))
                .textAlignment(TextOptions::Alignment::centre);
        return VStack(Spacing(16), texts.fillWidth(), buttons())
            .padding(margin)
            .frame({.width = width})
            .accent(palette.accent)
            .semantics(Role::alert, alert.title);
    }

    /// The default button is the last one in a row, and the first one in a column.
    View buttons() const {
        const auto preferred = defaultButton(alert);
        const auto cancelling = cancelButton(alert);
        std::vector<std::size_t> order;
        if (cancelling && cancelling != preferred) order.push_back(*cancelling);
        for (std::size_t at = 0; at < alert.buttons.size(); ++at) {
            if (at != preferred && at != cancelling) order.push_back(at);
        }
        if (preferred) order.push_back(*preferred);
        if (!isSideBySide) std::ranges::reverse(order);
        std::vector<View> views;
        views.reserve(order.size());
        for (const auto at : order) {
            views.push_back(AlertButtonView{alert.buttons[at], palette, at == preferred,
                                            [answer = answer, at] { answer(at); }});
        }
        return isSideBySide ? View(HStack(Spacing(buttonGap), Alignment::centre(), std::move(views)))
                            : View(VStack(Spacing(buttonGap), Alignment::centre(), std::move(views)));
    }
};

}  // namespace

std::optional<std::size_t> defaultButton(const AlertDescription& alert) {
    using Role = AlertButton::Role;
    if (const auto named = firstOf(alert, [](const AlertButton& one) { return one.isDefault; })) return named;
    if (const auto plain = firstOf(alert, [](const AlertButton& one) { return one.role == Role::plain; })) {
        return plain;
    }
    const auto destructive =
        firstOf(alert, [](const AlertButton& one) { return one.role == Role::destructive; });
    const auto destructiveCount =
        std::ranges::count_if(alert.buttons, [](const auto& one) { return one.role == Role::destructive; });
    if (destructiveCount == 1) return destructive;
    return alert.buttons.size() == 1 ? cancelButton(alert) : std::nullopt;
}

View alertContent(const AlertDescription& alert, const ControlPalette& palette, Renderer& renderer) {
    return View(AlertContent{alert, palette, fitSideBySide(alert, renderer), [](auto) {}})
        .background(Rectangle(), palette.background);
}

AlertWindow::AlertWindow(const AlertDescription& alert, const ControlPalette& palette, const Rect& over,
                         const Rect& bounds, Renderer& renderer, Answer onAnswer)
    : onAnswer(std::move(onAnswer)), cancelButton_(cancelButton(alert)) {
    const AlertContent content{
        alert, palette, fitSideBySide(alert, renderer),
        lifetime.weakly([this](std::optional<std::size_t> button) { answer(button); })};
    const auto size = fittingSize(content, renderer, width);
    const Rect middle{
        {std::round(over.centre().x - size.width / 2), std::round(over.centre().y - size.height / 2)}, size};
    window = std::make_unique<AttachedWindow>(
        NSWindow::Options{
            .kind = NSWindow::Kind::alert, .frame = keptInside(middle, bounds), .title = alert.title},
        [content, palette](const Chrome&) {
            return View(content).fillHeight(Alignment::top()).background(Rectangle(), palette.background);
        },
        renderer);
    auto& host = window->host();
    host.onUnhandledKey([this](const KeyEvent& event) {
        if (event.key != Key::escape) return false;
        cancel();
        return true;
    });
    closing = host.observeClose([this] { cancel(); });
    host.orderFront();
    host.window().makeKeyWindow();
}

AlertWindow::~AlertWindow() { window->host().orderOut(); }

void AlertWindow::raise() {
    window->window().orderFrontRegardless();
    window->window().makeKeyWindow();
}

void AlertWindow::answer(std::optional<std::size_t> button) {
    if (const auto handler = std::exchange(onAnswer, nullptr)) handler(button);
}

void AlertWindow::cancel() { answer(cancelButton_); }

}  // namespace vellumix::view
