#include "platform/foundation/promises/MainThread.h"

#ifndef NDEBUG

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace vellumix {

namespace {
std::atomic<std::thread::id> mainThread;
}

void setMainThread(bool hasLoop) { mainThread = hasLoop ? std::this_thread::get_id() : std::thread::id(); }

void assertMainThread() {
    const auto main = mainThread.load();
    if (main == std::thread::id() || main == std::this_thread::get_id()) return;
    std::fputs("What is for the main thread alone was called on another thread.\n", stderr);
    std::abort();
}

}  // namespace vellumix

#endif
