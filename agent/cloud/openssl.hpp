// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>

/// What is OpenSSL's, with its end.
namespace kv::virtual_agent::ssl {

template <auto Free>
struct Release {
    template <class T>
    void operator()(T *value) const
    {
        Free(value);
    }
};
template <class T, auto Free>
using Held = std::unique_ptr<T, Release<Free>>;

using Key = Held<EVP_PKEY, EVP_PKEY_free>;
using Certificate = Held<X509, X509_free>;
using Request = Held<X509_REQ, X509_REQ_free>;
using Bio = Held<BIO, BIO_free_all>;
using Digest = Held<EVP_MD_CTX, EVP_MD_CTX_free>;

/// The first of OpenSSL's reasons, for people; forgets all of them.
std::string reason();

/// What is left to do when OpenSSL fails at what can only fail for want of memory: throws std::runtime_error.
[[noreturn]] void fail(const char *what);

std::string sha256_hex(const std::string &bytes);

} // namespace kv::virtual_agent::ssl
