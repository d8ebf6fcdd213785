#pragma once

#include "platform/foundation/bytes/Data.h"

namespace vellumix {

/// A decoded image: rows of 32-bit pixels, premultiplied ARGB in native byte order, without padding.
struct Bitmap {
    int width = 0;
    int height = 0;
    Bytes pixels;
};

}  // namespace vellumix
