// How long the painting of a frame takes: a panel with twelve cards, at three scales, beside the plain fill
// of a surface of that size, which nothing can beat.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "platform/view/paint/CairoPainter.h"
#include "platform/view/paint/PangoTextSetter.h"

namespace {

using namespace vellumix;
using namespace vellumix::view;

constexpr Rect frame{{0, 0}, {520, 620}};
constexpr int cardCount = 12;

Shape rounded(double radius) { return {Shape::Kind::roundedRectangle, radius}; }

void appendCard(DrawingList& list, PangoTextSetter& setter, int number, const Rect& card) {
    list.push_back(draw::Fill{card, rounded(8), Color::grey(1)});
    list.push_back(draw::Stroke{card, rounded(8), Color::grey(0.82)});
    const Rect box{{card.minX() + 12, card.minY() + 3}, {44, 44}};
    list.push_back(draw::Fill{box, rounded(6), Color::grey(0.94)});
    list.push_back(draw::Symbol{box.inset(13), "doc.text", Color::grey(0.4), Font::Weight::medium});
    const TextOptions content{.font = Font::system(13), .maximumWidth = 230, .lineLimit = 2};
    const auto text = "Entry " + std::to_string(number) +
                      ": a text long enough to fill two lines of its card and to end in an ellipsis";
    list.push_back(
        draw::Text{{box.maxX() + 12, card.minY() + 2}, setter.set(text, content), Color::grey(0.1)});
    const auto age = setter.set(std::to_string(number) + " minutes ago", {.font = Font::system(10)});
    list.push_back(draw::Text{{box.maxX() + 12, card.minY() + 35}, age, Color::grey(0.55)});
    double left = card.maxX() - 12 - 26 * 6;
    for (const auto* name :
         {"doc.on.doc", "wand.and.stars", "square.and.arrow.up", "lock.open", "pin", "trash"}) {
        list.push_back(draw::Symbol{
            {{left + 6, card.centre().y - 7}, {14, 14}}, name, Color::grey(0.4), Font::Weight::medium});
        left += 26;
    }
}

DrawingList panel(PangoTextSetter& setter) {
    DrawingList list;
    list.push_back(draw::Shadow{frame.inset(10), rounded(20), Color::grey(0, 0.3), {0, 4}, 20});
    list.push_back(draw::Fill{frame.inset(10), rounded(20), Color::grey(0.96)});
    list.push_back(draw::PushClip{frame.inset(10), rounded(20)});
    for (int number = 0; number < cardCount; ++number)
        appendCard(list, setter, number, {{16, 12 + number * 50.0}, {488, 47}});
    list.push_back(draw::Pop{});
    return list;
}

/// The median, in milliseconds.
double timed(const std::function<void()>& work) {
    constexpr int rounds = 101;
    using Clock = std::chrono::steady_clock;
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        const auto start = Clock::now();
        work();
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    std::nth_element(times.begin(), times.begin() + rounds / 2, times.end());
    return times[rounds / 2];
}

}  // namespace

int main() {
    std::printf("%-6s %10s %10s %10s %10s\n", "scale", "fill", "first", "record", "paint");
    for (const double scale : {1.0, 1.25, 2.0}) {
        PangoTextSetter setter;
        CairoPainter painter;
        CairoSurface surface(static_cast<int>(frame.size.width * scale),
                             static_cast<int>(frame.size.height * scale));
        const double fill = timed([&] {
            painter.paint({draw::Fill{frame, {}, Color::grey(0.9)}}, surface, scale, frame);
        });
        using Clock = std::chrono::steady_clock;
        const auto start = Clock::now();
        auto list = panel(setter);
        painter.paint(list, surface, scale, frame);
        const double first = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        const double record = timed([&] { list = panel(setter); });
        const double paint = timed([&] { painter.paint(list, surface, scale, frame); });
        std::printf("%-6.2f %7.2f ms %7.2f ms %7.2f ms %7.2f ms\n", scale, fill, first, record, paint);
    }
}
