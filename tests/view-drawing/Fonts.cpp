#include <gtest/gtest.h>

#include <cstdlib>

namespace {

/// Chooses the fonts before anything looks for one.
class Fonts : public ::testing::Environment {
public:
    void SetUp() override { ::setenv("FONTCONFIG_FILE", VELLUMIX_FONTS, 1); }
};
[[maybe_unused]] const auto* const fonts = ::testing::AddGlobalTestEnvironment(new Fonts);

}  // namespace
