#pragma once

#include <gdk-pixbuf/gdk-pixbuf.h>

#include "platform/linux/loop/GLibHandles.h"

/// The handles of gdk-pixbuf, beside those of GLib.
namespace vellumix::linux_desktop::glib {

struct EndLoader {
    /// Closed, as it must be; a loader closed before is left as it is.
    void operator()(GdkPixbufLoader* loader) const {
        gdk_pixbuf_loader_close(loader, nullptr);
        g_object_unref(loader);
    }
};
using Loader = std::unique_ptr<GdkPixbufLoader, EndLoader>;

}  // namespace vellumix::linux_desktop::glib
