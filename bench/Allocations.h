#pragma once

#include <cstddef>

namespace vellumix::bench {

/// How often the program has asked for memory with `new` until now, on whichever thread.
std::size_t allocationCount();

}  // namespace vellumix::bench
