#pragma once

#include <gcrypt.h>

#include <memory>
#include <type_traits>

#include "platform/foundation/memory/HandleDeleter.h"

/// The handles of libgcrypt that this folder owns, one a line, and its beginning.
namespace vellumix::gcrypt {

using Cipher = std::unique_ptr<std::remove_pointer_t<gcry_cipher_hd_t>, HandleDeleter<gcry_cipher_close>>;
using Context = std::unique_ptr<std::remove_pointer_t<gcry_ctx_t>, HandleDeleter<gcry_ctx_release>>;
using Integer = std::unique_ptr<std::remove_pointer_t<gcry_mpi_t>, HandleDeleter<gcry_mpi_release>>;
using Point = std::unique_ptr<std::remove_pointer_t<gcry_mpi_point_t>, HandleDeleter<gcry_mpi_point_release>>;

/// Called before anything else of the library; false where it can't be used. The client library of the
/// keyring uses the same library, and whoever comes first prepares it.
bool prepareLibrary();

}  // namespace vellumix::gcrypt
