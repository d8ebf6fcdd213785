#include <gtest/gtest.h>

#include "platform/view/paint/CairoPainter.h"
#include "platform/view/paint/PangoTextSetter.h"

namespace vellumix::view {
namespace {

TEST(WithoutFonts, TextsAreSetAndPaintedWithoutFailure) {
    PangoTextSetter setter;
    CairoPainter painter;
    CairoSurface surface(200, 60);
    for (const auto* text : {"", "plain", "Link", "Image", "two\nlines", "\u05E9\u05DC\u05D5\u05DD",
                             "\U0001F469\u200D\U0001F4BB"}) {
        for (const int lineLimit : {0, 1, 2}) {
            const auto layout = setter.set(text, {.maximumWidth = 120, .lineLimit = lineLimit});
            EXPECT_GE(layout->lineCount(), 1) << text;
            EXPECT_LE(layout->size().width, 120) << text;
            EXPECT_LE(layout->size().height, 14 * layout->lineCount()) << text;
            EXPECT_EQ(layout->caret(0).minY(), 0) << text;
            painter.paint({draw::Text{{4, 4}, layout, Color::grey(0)}}, surface, 1, {{0, 0}, {200, 60}});
        }
    }
}

}  // namespace
}  // namespace vellumix::view
