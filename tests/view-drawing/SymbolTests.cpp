#include <gtest/gtest.h>

#include "platform/foundation/text/MissingResources.h"
#include "platform/view/paint/SymbolMasks.h"
#include "platform/view/values/Symbols.h"

namespace vellumix::view {
namespace {

/// The sum of a mask's coverage, in pixels, and what of it lies in the outermost ring.
struct Ink {
    double all = 0;
    double edge = 0;
};

Ink inkOf(const handles::Surface& mask) {
    cairo_surface_flush(mask.get());
    const auto* pixels = cairo_image_surface_get_data(mask.get());
    const int side = cairo_image_surface_get_width(mask.get());
    Ink ink;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const double alpha = pixels[y * cairo_image_surface_get_stride(mask.get()) + x] / 255.0;
            ink.all += alpha;
            if (x == 0 || y == 0 || x == side - 1 || y == side - 1) ink.edge += alpha;
        }
    }
    return ink;
}

TEST(Symbols, EveryNameHasInkThatKeepsClearOfItsBox) {
    SymbolMasks masks;
    for (const auto& [name, outlines] : symbolTable) {
        for (const int side : {8, 10, 15, 16, 20, 24, 48, 72, 144}) {
            for (const auto weight : {Font::Weight::regular, Font::Weight::bold}) {
                const auto mask = masks.mask(name, side, side, weight);
                ASSERT_TRUE(mask) << name;
                const auto ink = inkOf(*mask);
                EXPECT_GT(ink.all, 0.04 * side * side) << name << " at " << side;
                EXPECT_LT(ink.all, 0.75 * side * side) << name << " at " << side;
                // The margin of the box is a whole pixel from here on.
                if (side >= 48) {
                    EXPECT_EQ(ink.edge, 0) << name << " at " << side;
                }
            }
        }
    }
}

TEST(Symbols, WeightsAndFilledVariantsDifferInInk) {
    SymbolMasks masks;
    const auto ink = [&](std::string_view name, Font::Weight weight) {
        return inkOf(*masks.mask(name, 48, 24, weight)).all;
    };
    // What is cut out of a symbol grows with its outlines.
    for (const auto& [name, outlines] : symbolTable) {
        if (outlines.back().isCutOut) continue;
        EXPECT_LT(1.05 * ink(name, Font::Weight::regular), ink(name, Font::Weight::bold)) << name;
    }
    EXPECT_LT(1.3 * ink("pin", Font::Weight::regular), ink("pin.fill", Font::Weight::regular));
    EXPECT_LT(1.3 * ink("lock.open", Font::Weight::regular), ink("lock.fill", Font::Weight::regular));
    EXPECT_LT(ink("checkmark", Font::Weight::regular), ink("checkmark", Font::Weight::semibold));
}

TEST(Symbols, AnUnknownNameAndAnImpossibleSizeHaveNoMask) {
    SymbolMasks masks;
    EXPECT_FALSE(masks.mask("nothing.of.the.kind", 16, 16, Font::Weight::regular));
    EXPECT_FALSE(masks.mask("zzz", 16, 16, Font::Weight::regular)) << "behind the last of them";
    EXPECT_FALSE(masks.mask("", 16, 16, Font::Weight::regular));
    EXPECT_EQ(takeMissing(),
              (std::vector<std::string>{"symbol nothing.of.the.kind", "symbol zzz", "symbol "}));
    EXPECT_FALSE(masks.mask("pin", 0, 16, Font::Weight::regular));
    EXPECT_FALSE(masks.mask("pin", 100'000, 16, Font::Weight::regular));
}

TEST(Symbols, AMaskIsDrawnOnceForASizeAndAWeight) {
    SymbolMasks masks;
    const auto mask = masks.mask("pin", 16, 16, Font::Weight::regular);
    EXPECT_EQ(masks.mask("pin", 16, 16, Font::Weight::regular), mask);
    EXPECT_NE(masks.mask("pin", 16, 16, Font::Weight::bold), mask);
    EXPECT_NE(masks.mask("pin", 20, 20, Font::Weight::regular), mask);
}

}  // namespace
}  // namespace vellumix::view
