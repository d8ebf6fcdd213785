#include "platform/foundation/loop/RunLoop.h"

#include <utility>

#include "platform/foundation/promises/MainThread.h"

namespace vellumix {

namespace {
RunLoop* installed = nullptr;
}

RunLoop& RunLoop::main() { return *installed; }
RunLoop* RunLoop::install(RunLoop* loop) {
    setMainThread(loop);
    return std::exchange(installed, loop);
}

void onMain(Work work) { RunLoop::main().post(std::move(work)); }
void onMainAfter(double seconds, Work work) {
    assertMainThread();
    RunLoop::main().postAfter(seconds, std::move(work));
}

}  // namespace vellumix
