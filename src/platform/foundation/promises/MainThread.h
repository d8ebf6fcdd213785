#pragma once

namespace vellumix {

/// The calling thread is the main one from now on; or, where there is no main loop, none is.
#ifdef NDEBUG
inline void setMainThread(bool) {}
#else
void setMainThread(bool hasLoop);
#endif

/// Called first by what is for the main thread alone: a program that was built with assertions ends when
/// another thread comes here. Any thread; as long as none is the main one, all of them may pass.
#ifdef NDEBUG
inline void assertMainThread() {}
#else
void assertMainThread();
#endif

}  // namespace vellumix
