#include "platform/foundation/loop/RunLoop.h"

#include <utility>

namespace vellumix {

namespace {
RunLoop* installed = nullptr;
}

RunLoop& RunLoop::main() { return *installed; }
RunLoop* RunLoop::install(RunLoop* loop) { return std::exchange(installed, loop); }

void onMain(Work work) { RunLoop::main().post(std::move(work)); }
void onMainAfter(double seconds, Work work) { RunLoop::main().postAfter(seconds, std::move(work)); }

}  // namespace vellumix
