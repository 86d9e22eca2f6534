// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>

/// Owning types for OpenSSL's objects.
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

/// The first error of OpenSSL's queue as text; clears the queue.
std::string reason();

/// Throws std::runtime_error. For calls that fail only if memory is exhausted.
[[noreturn]] void fail(const char *what);

std::string sha256_hex(const std::string &bytes);

} // namespace kv::virtual_agent::ssl
