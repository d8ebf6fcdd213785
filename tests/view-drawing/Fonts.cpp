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

/// Pango matches fonts on a thread of its own. The end of the process may cut it off with patterns of
/// fontconfig's in hand, which the leak sanitizer then counts as lost.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
