#include <gtest/gtest.h>

#include "platform/foundation/text/MissingResources.h"

namespace vellumix {
namespace {

/// Fails each test that asked for a text or a symbol that the program doesn't have. One that does so on
/// purpose takes what is missing before it ends.
class NothingIsMissing : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override { takeMissing(); }
    void OnTestEnd(const testing::TestInfo&) override {
        for (const auto& each : takeMissing()) ADD_FAILURE() << "The program has no " << each;
    }
};

/// Part of every program of tests, none of which has a `main` of its own.
[[maybe_unused]] const bool isListening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new NothingIsMissing);
    return true;
}();

}  // namespace
}  // namespace vellumix
