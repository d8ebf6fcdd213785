#pragma once

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

/// The handles of libplist that this folder owns, one a line.
namespace vellumix::plist {

struct FreeNode {
    void operator()(void* node) const { plist_free(node); }
};
struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

using Node = std::unique_ptr<void, FreeNode>;
using Memory = std::unique_ptr<void, FreeMemory>;

}  // namespace vellumix::plist
