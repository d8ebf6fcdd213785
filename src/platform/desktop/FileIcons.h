#pragma once

#include <memory>

#include "platform/desktop/Bitmap.h"
#include "platform/foundation/coding/URL.h"

namespace vellumix {

/// The icons by which the desktop shows files. Main thread; blocking, but reads no more than an icon.
class FileIcons {
public:
    virtual ~FileIcons() = default;
    /// By the content type that the file's name tells, whether it is there or not; that of a folder where one
    /// is. `pixels` is its side. Null where the desktop has no icons.
    virtual std::shared_ptr<const Bitmap> iconForFile(const URL& file, int pixels) = 0;
};

}  // namespace vellumix
