#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "platform/view/paint/CairoPainter.h"
#include "platform/view/paint/PangoTextSetter.h"

namespace vellumix::view {
namespace {

constexpr Color black = Color::grey(0);
constexpr double scales[] = {1, 1.25, 2};

Shape rounded(double radius) { return {Shape::Kind::roundedRectangle, radius}; }

/// Paints on a surface of so many pixels a side.
CairoSurface painted(const DrawingList& drawing, double scale = 1, int side = 200) {
    CairoSurface surface(side, side);
    CairoPainter().paint(drawing, surface, scale, {{0, 0}, {side / scale, side / scale}});
    return surface;
}

int alphaAt(const CairoSurface& surface, int x, int y) {
    return static_cast<int>(surface.pixelAt(x, y) >> 24);
}

TEST(Painter, AHairlineIsOneCrispPixelAtEveryScale) {
    for (const double scale : scales) {
        const auto width = static_cast<int>(std::max(1.0, std::round(scale)));
        for (const Rect& rect : {Rect{{20, 20}, {40, 30}}, Rect{{20.3, 20.7}, {40.2, 30.1}}}) {
            const auto surface = painted({draw::Stroke{rect, {}, black, 1}}, scale);
            const int row = static_cast<int>(std::round(rect.centre().y * scale));
            int full = 0;
            for (int x = 0; x < 200; ++x) {
                const int alpha = alphaAt(surface, x, row);
                EXPECT_TRUE(alpha == 0 || alpha == 255) << alpha << " at " << x << " scale " << scale;
                full += alpha == 255;
            }
            EXPECT_EQ(full, 2 * width) << scale;
        }
        // A divider thinner than a pixel doesn't vanish.
        const auto divider = painted({draw::Fill{{{10, 10.2}, {50, 0.2}}, {}, black}}, scale);
        int rows = 0;
        for (int y = 0; y < 200; ++y) rows += alphaAt(divider, 30, y) == 255;
        EXPECT_EQ(rows, 1) << scale;
    }
}

TEST(Painter, ALineOfAnyWidthStaysInsideTheEdgeOfTheFillBelowIt) {
    const Rect rect{{20.4, 20.4}, {40.4, 30.4}};
    for (const double scale : scales) {
        const auto fill = painted({draw::Fill{rect, rounded(8), black}}, scale);
        for (const double width : {1.0, 1.5, 2.0, 3.0}) {
            const auto both = painted(
                {draw::Fill{rect, rounded(8), black}, draw::Stroke{rect, rounded(8), black, width}}, scale);
            int widened = 0;
            for (int y = 0; y < 200; ++y) {
                for (int x = 0; x < 200; ++x) widened += alphaAt(fill, x, y) == 0 && alphaAt(both, x, y) > 0;
            }
            EXPECT_EQ(widened, 0) << width << " wide at scale " << scale;
        }
    }
}

TEST(Painter, CornersAreRoundSmoothAndAlike) {
    // Cairo counts the rows of a pixel in fifteenths.
    constexpr int grain = 2 * 255 / 15;
    for (const double scale : scales) {
        const int side = static_cast<int>(80 * scale);
        const auto surface = painted({draw::Fill{{{0, 0}, {80, 80}}, rounded(20), black}}, scale, side);
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                const int alpha = alphaAt(surface, x, y);
                EXPECT_NEAR(alpha, alphaAt(surface, side - 1 - x, y), grain) << x << ' ' << y;
                EXPECT_NEAR(alpha, alphaAt(surface, x, side - 1 - y), grain) << x << ' ' << y;
                EXPECT_NEAR(alpha, alphaAt(surface, y, x), grain) << x << ' ' << y;
            }
        }
        // On the diagonal it is where the arc of its radius is, and it leaves the side before the arc would.
        const double diagonal = 20 * scale * (1 - std::sqrt(0.5));
        EXPECT_LT(alphaAt(surface, static_cast<int>(diagonal) - 1, static_cast<int>(diagonal) - 1), 128);
        EXPECT_EQ(alphaAt(surface, static_cast<int>(diagonal) + 2, static_cast<int>(diagonal) + 2), 255);
        EXPECT_LT(alphaAt(surface, static_cast<int>(21 * scale), 0), 254);
        EXPECT_EQ(alphaAt(surface, static_cast<int>(34 * scale), 0), 255);
        // Row by row it opens, never faster than before.
        int last = side;
        int lastStep = side;
        for (int y = 0; y < side / 2; ++y) {
            int first = 0;
            while (first < side && alphaAt(surface, first, y) < 128) ++first;
            EXPECT_LE(first, last) << y;
            if (y > 1) {
                EXPECT_LE(last - first, lastStep + 1) << y;
                lastStep = last - first;
            }
            last = first;
        }
    }
}

TEST(Painter, ALayerTurnsClockwiseAboutItsCentre) {
    // A bar from the centre to the right; a quarter turn points it down.
    const draw::Fill bar{{{40, 38}, {30, 4}}, {}, black};
    for (const double scale : {1.0, 2.0}) {
        const auto surface = painted(
            {draw::PushLayer{.centre = {40, 40}, .rotation = std::numbers::pi / 2}, bar, draw::Pop{}, bar},
            scale, static_cast<int>(80 * scale));
        const auto at = [&](double x, double y) {
            return alphaAt(surface, static_cast<int>(x * scale), static_cast<int>(y * scale));
        };
        EXPECT_EQ(at(40, 60), 255);
        EXPECT_EQ(at(60, 40), 255);
        EXPECT_EQ(at(40, 20), 0);
        EXPECT_EQ(at(20, 40), 0);
    }
}

TEST(Painter, WhatIsOutsideUntilItIsTurnedInIsPainted) {
    const draw::Fill above{{{15, -15}, {10, 10}}, {}, black};
    const auto surface = painted(
        {draw::PushLayer{.centre = {20, 40}, .rotation = std::numbers::pi / 2}, above, draw::Pop{}}, 1, 80);
    EXPECT_EQ(alphaAt(surface, 70, 40), 255);
    EXPECT_EQ(alphaAt(surface, 60, 40), 0);
}

TEST(Painter, ARadiusBeyondHalfOfTheSideIsACapsule) {
    const Rect rect{{10, 10}, {60, 20}};
    const auto cut = painted({draw::Fill{rect, rounded(500), black}});
    const auto capsule = painted({draw::Fill{rect, {Shape::Kind::capsule}, black}});
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 80; ++x) EXPECT_EQ(cut.pixelAt(x, y), capsule.pixelAt(x, y)) << x << ' ' << y;
    EXPECT_EQ(alphaAt(capsule, 11, 11), 0);
    EXPECT_LT(alphaAt(painted({draw::Fill{rect, rounded(1), black}}), 10, 10), 255) << "the smallest is seen";
    EXPECT_EQ(alphaAt(capsule, 40, 10), 255);
}

TEST(Painter, AShadowFadesSteadilyOnEverySide) {
    for (const double scale : scales) {
        for (const Shape& shape : {rounded(12), Shape{}, Shape{Shape::Kind::capsule}}) {
            const auto surface =
                painted({draw::Shadow{{{32, 32}, {40, 40}}, shape, black, {0, 0}, 16}}, scale);
            const int middle = static_cast<int>(52 * scale);
            int last = alphaAt(surface, middle, middle);
            EXPECT_GT(last, 230);
            // The integral of a Gaussian from edge to edge, of half the radius.
            const auto below = [&](double points) { return std::erf(points / 8 / std::numbers::sqrt2) / 2; };
            for (int away = 0; middle + away < 200; ++away) {
                const int alpha = alphaAt(surface, middle + away, middle);
                EXPECT_LE(alpha, last);
                const double across = (away + 0.5) / scale;
                if (shape.kind == Shape().kind) {
                    EXPECT_NEAR(alpha, 510 * below(20) * (below(20 - across) + below(20 + across)), 8)
                        << away;
                }
                EXPECT_NEAR(alpha, alphaAt(surface, middle - 1 - away, middle), 6);
                EXPECT_NEAR(alpha, alphaAt(surface, middle, middle + away), 6);
                last = alpha;
            }
            EXPECT_EQ(alphaAt(surface, static_cast<int>(96 * scale), middle), 0);
        }
    }
}

TEST(Painter, AStretchedShadowIsThatOfTheWholeShape) {
    // The ends must be those of one too small to be stretched, and all between them alike.
    const auto small = painted({draw::Shadow{{{30, 30}, {50, 50}}, rounded(8), black, {0, 4}, 8}}, 1, 400);
    const auto wide = painted({draw::Shadow{{{30, 30}, {300, 200}}, rounded(8), black, {0, 4}, 8}}, 1, 400);
    for (int y = 0; y < 55; ++y) {
        for (int x = 0; x < 55; ++x) {
            EXPECT_EQ(alphaAt(small, x, y), alphaAt(wide, x, y)) << x << ' ' << y;
            EXPECT_EQ(alphaAt(small, 109 - x, 109 - y), alphaAt(wide, 359 - x, 259 - y)) << x << ' ' << y;
        }
    }
    for (int x = 75; x < 280; ++x) EXPECT_EQ(alphaAt(wide, x, 30), alphaAt(wide, 75, 30)) << x;
    EXPECT_EQ(alphaAt(wide, 200, 150), 255);
}

TEST(Painter, ClipsAndLayersEndWithTheirPop) {
    const draw::Fill all{{{0, 0}, {100, 100}}, {}, black};
    const draw::PushClip clip{{{10, 10}, {20, 20}}, {}};
    const draw::PushClip elsewhere{{{60, 60}, {20, 20}}, {}};
    const draw::PushLayer half{0.5, 1, {}};
    const draw::PushLayer small{1, 0.5, {20, 20}};
    const draw::PushLayer hidden{0, 1, {}};
    const draw::Fill dot{{{15, 15}, {2, 2}}, {}, black};
    struct {
        const char* what;
        DrawingList drawing;
        int inside;   // at (20, 20), in the clip
        int outside;  // at (80, 80)
    } const cases[] = {
        {"clip", {clip, all, draw::Pop{}}, 255, 0},
        {"after a clip", {clip, draw::Pop{}, all}, 255, 255},
        {"nothing is common", {clip, elsewhere, all}, 0, 0},
        {"out of the inner clip", {clip, elsewhere, draw::Pop{}, all}, 255, 0},
        {"out of both", {clip, elsewhere, draw::Pop{}, draw::Pop{}, all}, 255, 255},
        {"half", {half, all, draw::Pop{}}, 128, 128},
        {"half, two in it", {half, all, all, draw::Pop{}}, 128, 128},
        {"half in a clip", {clip, half, all, dot, draw::Pop{}, draw::Pop{}}, 128, 0},
        {"after half", {half, dot, dot, draw::Pop{}, all}, 255, 255},
        {"scaled", {small, all, draw::Pop{}}, 255, 0},
        {"scaled from afar", {small, draw::Fill{{{130, 130}, {40, 40}}, {}, black}, draw::Pop{}}, 0, 255},
        {"after scaled", {small, draw::Pop{}, all}, 255, 255},
        {"scaled clip", {small, clip, all, draw::Pop{}, draw::Pop{}}, 255, 0},
        {"hidden", {hidden, clip, all, draw::Pop{}, all, draw::Pop{}}, 0, 0},
        {"after hidden", {hidden, half, all, all, draw::Pop{}, draw::Pop{}, all}, 255, 255},
        {"too many pops", {draw::Pop{}, clip, draw::Pop{}, draw::Pop{}, all}, 255, 255},
        {"no pop", {half, clip, all}, 128, 0},
    };
    for (const auto& each : cases) {
        const auto surface = painted(each.drawing, 1, 100);
        EXPECT_NEAR(alphaAt(surface, 20, 20), each.inside, 1) << each.what;
        EXPECT_NEAR(alphaAt(surface, 80, 80), each.outside, 1) << each.what;
    }
}

TEST(Painter, OnlyTheRegionIsReplaced) {
    CairoPainter painter;
    CairoSurface surface(100, 100);
    const Rect whole{{0, 0}, {100, 100}};
    painter.paint({draw::Fill{whole, {}, black}}, surface, 1, whole);
    painter.paint({draw::Fill{{{25, 0}, {75, 100}}, {}, Color{1, 0, 0, 1}}}, surface, 1,
                  {{20, 20}, {10, 10}});
    EXPECT_EQ(surface.pixelAt(19, 25), 0xFF000000u);
    EXPECT_EQ(surface.pixelAt(22, 25), 0u);
    EXPECT_EQ(surface.pixelAt(27, 25), 0xFFFF0000u);
    EXPECT_EQ(surface.pixelAt(30, 25), 0xFF000000u);
    EXPECT_EQ(surface.pixelAt(27, 30), 0xFF000000u);
}

TEST(Painter, ImagesFillTheirPlaceAndBrokenOnesAreLeftOut) {
    auto bitmap = std::make_shared<Bitmap>(Bitmap{40, 20, {}});
    for (int pixel = 0; pixel < 40 * 20; ++pixel)
        for (const int byte : {0, 0, 255, 255}) bitmap->pixels.push_back(static_cast<std::uint8_t>(byte));
    const auto pixelOf = [&](const std::shared_ptr<const Bitmap>& image, const Rect& rect, int x, int y) {
        return painted({draw::Image{rect, image}}).pixelAt(x, y);
    };
    for (const Rect& rect : {Rect{{10, 10}, {40, 20}}, Rect{{10, 10}, {13, 7}}, Rect{{10, 10}, {150, 120}}}) {
        for (const Point corner : {rect.origin, Point{rect.maxX() - 1, rect.maxY() - 1}})
            EXPECT_EQ(pixelOf(bitmap, rect, static_cast<int>(corner.x), static_cast<int>(corner.y)),
                      0xFFFF0000u);
        EXPECT_EQ(pixelOf(bitmap, rect, 9, 9), 0u);
        EXPECT_EQ(pixelOf(bitmap, rect, static_cast<int>(rect.maxX()), 12), 0u);
    }
    EXPECT_EQ(pixelOf(std::make_shared<Bitmap>(Bitmap{40, 40, bitmap->pixels}), {{0, 0}, {40, 40}}, 5, 5),
              0u);
    EXPECT_EQ(pixelOf(std::make_shared<Bitmap>(Bitmap{0, 0, {}}), {{0, 0}, {40, 40}}, 5, 5), 0u);
    EXPECT_EQ(pixelOf(nullptr, {{0, 0}, {40, 40}}, 5, 5), 0u);
}

TEST(Painter, ASymbolIsTintedAndStaysInItsRectangle) {
    for (const double scale : scales) {
        const auto surface =
            painted({draw::Symbol{{{10, 10}, {40, 24}}, "xmark.circle.fill", Color{0, 0, 1, 1}}}, scale);
        const int middle = static_cast<int>(22 * scale);
        EXPECT_EQ(surface.pixelAt(static_cast<int>(23 * scale), middle), 0xFF0000FFu) << scale;
        for (int at = 0; at < 200; ++at) {
            if (at < static_cast<int>(10 * scale) || at > static_cast<int>(50 * scale)) {
                EXPECT_EQ(surface.pixelAt(at, middle), 0u) << at;
            }
        }
    }
}

TEST(Painter, NumbersThatAreNoneAndFarPlacesAreLeftOut) {
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    const auto layout = PangoTextSetter().set("text", {});
    for (const double odd : {none, unbounded, -unbounded, 1e300, -1e300, -5.0}) {
        for (const Rect& rect :
             {Rect{{odd, 0}, {10, 10}}, Rect{{0, 0}, {odd, 10}}, Rect{{0, odd}, {10, odd}}}) {
            for (const Shape& shape : {rounded(4), rounded(odd), Shape{Shape::Kind::ellipse}}) {
                painted({draw::Fill{rect, shape, black}, draw::Stroke{rect, shape, black, odd},
                         draw::Stroke{rect, shape, black}, draw::Shadow{rect, shape, black, {odd, 0}, 4},
                         draw::Shadow{{{0, 0}, {9, 9}}, shape, black, {}, odd},
                         draw::Text{rect.origin, layout}, draw::Symbol{rect, "pin"},
                         draw::PushLayer{odd, odd, rect.origin}, draw::PushClip{rect, shape},
                         draw::Fill{{{0, 0}, {20, 20}}, shape, black}});
            }
        }
    }
    // The ground of a list of many rows is longer than cairo's coordinates, and still to be seen.
    const auto list = painted({draw::Fill{{{10, -1e7}, {100, 2e7}}, rounded(8), black}});
    EXPECT_EQ(alphaAt(list, 50, 100), 255);
    EXPECT_EQ(alphaAt(list, 5, 100), 0);
    CairoSurface nowhere(0, -3);
    CairoPainter().paint({draw::Fill{{{0, 0}, {10, 10}}, {}, black}}, nowhere, 1, {{0, 0}, {10, 10}});
    EXPECT_EQ(nowhere.pixelAt(0, 0), 0u);
}

}  // namespace
}  // namespace vellumix::view
