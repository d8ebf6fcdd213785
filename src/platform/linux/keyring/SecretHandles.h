#pragma once

// The functions that work on object paths and so need no proxy of each item; unchanged since libsecret 0.16.
#define SECRET_API_SUBJECT_TO_CHANGE
#include <libsecret/secret.h>

#include <malloc.h>

#include "platform/foundation/cipher/AESGCM.h"
#include "platform/linux/loop/GLibHandles.h"

/// The handles of libsecret, beside those of GLib.
namespace vellumix::linux_desktop::glib {

using Secret = std::unique_ptr<SecretValue, HandleDeleter<secret_value_unref>>;

/// For secrets in memory of GLib's: libsecret passes it no size.
inline void wipeAndFree(gpointer memory) {
    wipe({static_cast<std::uint8_t*>(memory), malloc_usable_size(memory)});
    g_free(memory);
}

}  // namespace vellumix::linux_desktop::glib
