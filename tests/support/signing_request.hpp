// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

/// Signing requests, certificates and signatures, checked with OpenSSL and none of the agent's code.
namespace kv::test {

template <auto Free>
struct Release {
    template <class T>
    void operator()(T *value) const
    {
        Free(value);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Release<X509_free>>;

/// A key on the curve P-256.
Key new_key();

/// A request in PEM for `key`, signed with it or with another key.
std::string request_for(EVP_PKEY *key, EVP_PKEY *signed_with = nullptr);

/// Null if the text is not a certificate.
Certificate certificate_from(const std::string &pem);

/// Whether the authority has issued the certificate.
bool verifies(const std::string &pem, const std::string &authority_pem);

/// Whether a signature, two numbers of 32 bytes, was made with the key of the authority's certificate.
bool es256_verifies(const std::string &text, const std::string &signature, const std::string &authority_pem);

std::string from_base64url(std::string text);
std::string to_base64url(const std::string &bytes);

} // namespace kv::test
