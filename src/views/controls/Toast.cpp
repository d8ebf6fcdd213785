#include "views/controls/Toast.h"

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/text/LocalizedText.h"
#include "shell/settings/ThemeManager.h"

namespace vellumix {

using namespace view;

namespace {

constexpr auto comingAndGoing = Curve::easeInOut(0.25);
constexpr double distanceFromTop = 60;

}  // namespace

View Toast::body() const {
    const auto message = text.get();
    if (!message) return {};
    const auto& theme = ThemeManager::shared();
    const RoundedRectangle shape(6);
    return Text(*message)
        .font(ThemeManager::smallFont())
        .foreground(theme.primaryTextColor())
        .padding(Edge::vertical, 8)
        .padding(Edge::horizontal, 12)
        .background(shape, theme.surfaceColor(), Outline{theme.borderColor(), 1})
        .shadow({.color = Color::grey(0, 0.08), .radius = 8, .offset = {0, 4}, .shape = shape})
        .padding(Edge::top, distanceFromTop)
        .padding(Edge::horizontal, 16)
        .transition(Transition::move(Edge::top).with(Transition::opacity()));
}

void ToastPresenter::show(const char* key, double seconds) const {
    withAnimation(comingAndGoing, [&] { this->toast.set(String(localized(key))); });
    onMainAfter(seconds,
                [toast = this->toast] { withAnimation(comingAndGoing, [&] { toast.set(std::nullopt); }); });
}

}  // namespace vellumix
