// SPDX-License-Identifier: Apache-2.0
#include "signing_request.hpp"

#include <openssl/bio.h>
#include <openssl/ecdsa.h>
#include <openssl/pem.h>

#include <algorithm>

namespace kv::test {

namespace {

using Bio = std::unique_ptr<BIO, Release<BIO_free_all>>;

const unsigned char *bytes_of(const std::string &text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

constexpr std::size_t number_size = 32;

} // namespace

Key new_key()
{
    return Key{EVP_EC_gen("P-256")};
}

std::string request_for(EVP_PKEY *key, EVP_PKEY *signed_with)
{
    const std::unique_ptr<X509_REQ, Release<X509_REQ_free>> request{X509_REQ_new()};
    X509_NAME_add_entry_by_txt(X509_REQ_get_subject_name(request.get()), "CN", MBSTRING_ASC, bytes_of("virtual washer"),
                               -1, -1, 0);
    X509_REQ_set_pubkey(request.get(), key);
    X509_REQ_sign(request.get(), signed_with ? signed_with : key, EVP_sha256());
    const Bio memory{BIO_new(BIO_s_mem())};
    PEM_write_bio_X509_REQ(memory.get(), request.get());
    char *text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
}

Certificate certificate_from(const std::string &pem)
{
    const Bio memory{BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()))};
    return Certificate{PEM_read_bio_X509(memory.get(), nullptr, nullptr, nullptr)};
}

bool verifies(const std::string &pem, const std::string &authority_pem)
{
    const Certificate certificate = certificate_from(pem);
    const Certificate authority = certificate_from(authority_pem);
    const std::unique_ptr<X509_STORE, Release<X509_STORE_free>> trusted{X509_STORE_new()};
    const std::unique_ptr<X509_STORE_CTX, Release<X509_STORE_CTX_free>> context{X509_STORE_CTX_new()};
    X509_STORE_add_cert(trusted.get(), authority.get());
    return X509_STORE_CTX_init(context.get(), trusted.get(), certificate.get(), nullptr) == 1 &&
           X509_verify_cert(context.get()) == 1;
}

bool es256_verifies(const std::string &text, const std::string &signature, const std::string &authority_pem)
{
    if (signature.size() != 2 * number_size)
        return false;
    const std::unique_ptr<ECDSA_SIG, Release<ECDSA_SIG_free>> numbers{ECDSA_SIG_new()};
    ECDSA_SIG_set0(numbers.get(), BN_bin2bn(bytes_of(signature), number_size, nullptr),
                   BN_bin2bn(bytes_of(signature) + number_size, number_size, nullptr));
    std::string der(256, '\0');
    auto *to = reinterpret_cast<unsigned char *>(der.data());
    der.resize(static_cast<std::size_t>(i2d_ECDSA_SIG(numbers.get(), &to)));

    const Certificate authority = certificate_from(authority_pem);
    const std::unique_ptr<EVP_MD_CTX, Release<EVP_MD_CTX_free>> digest{EVP_MD_CTX_new()};
    return EVP_DigestVerifyInit(digest.get(), nullptr, EVP_sha256(), nullptr, X509_get0_pubkey(authority.get())) == 1 &&
           EVP_DigestVerify(digest.get(), bytes_of(der), der.size(), bytes_of(text), text.size()) == 1;
}

std::string from_base64url(std::string text)
{
    std::replace(text.begin(), text.end(), '-', '+');
    std::replace(text.begin(), text.end(), '_', '/');
    const std::size_t padding = (4 - text.size() % 4) % 4;
    text.append(padding, '=');
    std::string bytes(text.size(), '\0');
    const int size =
        EVP_DecodeBlock(reinterpret_cast<unsigned char *>(bytes.data()), bytes_of(text), static_cast<int>(text.size()));
    bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size) - padding);
    return bytes;
}

std::string to_base64url(const std::string &bytes)
{
    std::string text(4 * bytes.size() / 3 + 8, '\0');
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text.data()), bytes_of(bytes),
                                     static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(size));
    text.erase(std::find(text.begin(), text.end(), '='), text.end());
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return text;
}

} // namespace kv::test
