#pragma once

#include <memory>

#include "platform/desktop/Bitmap.h"
#include "platform/linux/images/PixbufHandles.h"

namespace vellumix::linux_desktop {

/// The pixels of a picture that gdk-pixbuf has decoded, as the program keeps them. Any thread.
std::shared_ptr<const Bitmap> bitmapOf(GdkPixbuf* pixbuf);

}  // namespace vellumix::linux_desktop
