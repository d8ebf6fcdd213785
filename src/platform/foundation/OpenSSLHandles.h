#pragma once

#include <openssl/evp.h>

#include <memory>

#include "platform/foundation/HandleDeleter.h"

/// The handles of OpenSSL that this folder owns, one a line.
namespace vellumix::openssl {

using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, HandleDeleter<EVP_CIPHER_CTX_free>>;

}  // namespace vellumix::openssl
