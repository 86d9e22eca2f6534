// SPDX-License-Identifier: Apache-2.0
#include "certificates.hpp"

#include <openssl/pem.h>
#include <openssl/rand.h>

namespace kv::virtual_agent::ssl {

namespace {

constexpr std::size_t max_request = 65536;
constexpr int min_security_bits = 112; // RSA 2048 and equally strong keys
constexpr long seconds_per_day = 86400;
constexpr long clock_skew_s = 300; // certificates are valid on a device whose clock is slow by this much

/// Refuses to enter a passphrase.
int no_passphrase(char *, int, int, void *)
{
    return -1;
}

template <class T, class Encode>
std::string encoded(T *value, Encode encode)
{
    unsigned char *bytes = nullptr;
    const int size = encode(value, &bytes);
    if (size <= 0)
        fail("write DER");
    std::string der{reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(size)};
    OPENSSL_free(bytes);
    return der;
}

Bio reader_of(const std::string &text)
{
    Bio reader{BIO_new_mem_buf(text.data(), static_cast<int>(text.size()))};
    if (!reader)
        throw std::bad_alloc{};
    return reader;
}

} // namespace

std::string pem_of(const std::function<int(BIO *)> &write)
{
    const Bio memory{BIO_new(BIO_s_mem())};
    if (!memory || write(memory.get()) != 1)
        fail("write PEM");
    char *text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
}

std::string pem_of(X509 *certificate)
{
    return pem_of([certificate](BIO *to) { return PEM_write_bio_X509(to, certificate); });
}

std::string der_of(X509 *certificate)
{
    return encoded(certificate, i2d_X509);
}

std::string der_of(EVP_PKEY *key)
{
    return encoded(key, i2d_PUBKEY);
}

Key read_key(const std::string &pem)
{
    return Key{PEM_read_bio_PrivateKey(reader_of(pem).get(), nullptr, no_passphrase, nullptr)};
}

Certificate read_certificate(const std::string &pem)
{
    return Certificate{PEM_read_bio_X509(reader_of(pem).get(), nullptr, no_passphrase, nullptr)};
}

Request read_request(const std::string &csr)
{
    if (csr.size() > max_request)
        throw CertificateRefused{"the signing request is longer than " + std::to_string(max_request) + " bytes"};
    Request request{PEM_read_bio_X509_REQ(reader_of(csr).get(), nullptr, no_passphrase, nullptr)};
    if (!request)
        throw CertificateRefused{"this is not a signing request in PEM: " + reason()};
    EVP_PKEY *key = X509_REQ_get0_pubkey(request.get());
    if (!key)
        throw CertificateRefused{"the signing request has no usable key: " + reason()};
    if (X509_REQ_verify(request.get(), key) != 1)
        throw CertificateRefused{"the signature of the signing request is wrong: it must be made with the key that "
                                 "the certificate is for"};
    if (EVP_PKEY_get_security_bits(key) < min_security_bits)
        throw CertificateRefused{"the key is too weak: RSA with 2048 bits or a curve of 224 is the minimum"};
    return request;
}

bool add(X509_NAME *name, const char *field, const std::string &text)
{
    return X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8, reinterpret_cast<const unsigned char *>(text.c_str()),
                                      static_cast<int>(text.size()), -1, 0) == 1;
}

void extend(X509 *certificate, X509 *issuer, int kind, const char *value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const Held<X509_EXTENSION, X509_EXTENSION_free> extension{X509V3_EXT_conf_nid(nullptr, &context, kind, value)};
    if (!extension || X509_add_ext(certificate, extension.get(), -1) != 1)
        fail("extend a certificate");
}

Certificate new_certificate(EVP_PKEY *key, int days)
{
    Certificate made{X509_new()};
    const Held<BIGNUM, BN_free> serial{BN_new()};
    constexpr int serial_bits = 127; // positive in 16 bytes
    if (!made || !serial || X509_set_version(made.get(), X509_VERSION_3) != 1 ||
        BN_rand(serial.get(), serial_bits, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) != 1 ||
        !BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(made.get())) ||
        !X509_gmtime_adj(X509_getm_notBefore(made.get()), -clock_skew_s) ||
        !X509_gmtime_adj(X509_getm_notAfter(made.get()), days * seconds_per_day) ||
        X509_set_pubkey(made.get(), key) != 1)
        fail("make a certificate");
    return made;
}

} // namespace kv::virtual_agent::ssl
