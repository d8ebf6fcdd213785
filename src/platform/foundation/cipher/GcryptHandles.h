#pragma once

#include <gcrypt.h>

#include <memory>
#include <type_traits>

#include "platform/foundation/memory/HandleDeleter.h"

/// The handles of libgcrypt that this folder owns, one a line.
namespace vellumix::gcrypt {

using Cipher = std::unique_ptr<std::remove_pointer_t<gcry_cipher_hd_t>, HandleDeleter<gcry_cipher_close>>;

}  // namespace vellumix::gcrypt
