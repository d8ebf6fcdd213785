#pragma once

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

#include "platform/foundation/memory/HandleDeleter.h"

/// The handles of libplist that this folder owns, one a line.
namespace vellumix::plist {

using Node = std::unique_ptr<void, HandleDeleter<plist_free>>;
using Memory = std::unique_ptr<void, HandleDeleter<std::free>>;

}  // namespace vellumix::plist
