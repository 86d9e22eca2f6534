// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "openssl.hpp"

#include <functional>
#include <stdexcept>
#include <string>

/// Certificates, keys and signing requests as OpenSSL objects and as PEM text.
namespace kv::virtual_agent {

/// Why a request for a certificate was refused.
struct CertificateRefused : std::runtime_error {
    using runtime_error::runtime_error;
};

namespace ssl {

std::string pem_of(const std::function<int(BIO *)> &write);
std::string pem_of(X509 *certificate);
std::string der_of(X509 *certificate);
/// The public half of the key.
std::string der_of(EVP_PKEY *key);

/// Null if there is none. A key with a passphrase counts as none: OpenSSL would ask for the passphrase on the terminal.
Key read_key(const std::string &pem);
Certificate read_certificate(const std::string &pem);
/// Reads a signing request in PEM and verifies its signature. Throws CertificateRefused.
Request read_request(const std::string &pem);

/// Adds a part to a name. Returns false for a text that a name cannot hold.
bool add(X509_NAME *name, const char *field, const std::string &text);
void extend(X509 *certificate, X509 *issuer, int kind, const char *value);
/// A certificate for the key with a random serial number, valid from now on. It is not signed yet.
Certificate new_certificate(EVP_PKEY *key, int days);

} // namespace ssl

} // namespace kv::virtual_agent
