#include "platform/foundation/promises/Describing.h"

#include <cstdio>
#include <cstdlib>

#ifndef NDEBUG

namespace vellumix {

namespace {
// Each thread's own, as the threads of files and pictures go on meanwhile.
thread_local int scopes = 0;
}  // namespace

Describing::Describing() { ++scopes; }
Describing::~Describing() { --scopes; }

void assertNotDescribing(const char* deed) {
    if (scopes == 0) return;
    std::fprintf(stderr, "While a view is described, nothing is done: %s\n", deed);
    std::abort();
}

}  // namespace vellumix

#endif
