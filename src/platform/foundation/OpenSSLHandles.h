#pragma once

#include <openssl/evp.h>

#include <memory>

/// The handles of OpenSSL that this folder owns, one a line.
namespace vellumix::openssl {

template <auto Free>
struct Deleter {
    template <class T>
    void operator()(T* handle) const {
        Free(handle);
    }
};

using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, Deleter<EVP_CIPHER_CTX_free>>;

}  // namespace vellumix::openssl
