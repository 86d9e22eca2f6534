// SPDX-License-Identifier: Apache-2.0
#include "authority.hpp"

#include <openssl/ecdsa.h>
#include <openssl/pem.h>
#include <openssl/rand.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

constexpr const char *key_name = "ca.key";
constexpr const char *certificate_name = "ca.pem";
constexpr const char *arn_prefix = "arn:korvane:certificate:";
constexpr std::size_t longest_request = 65536;
constexpr int least_security_bits = 112; // RSA 2048 and what is as strong
constexpr long seconds_per_day = 86400;
constexpr long clock_skew_s = 300; // a device whose clock is a little late takes the certificate as well
constexpr int number_size = 32;    // of a P-256 signature's two

/// Nobody is asked for a passphrase: the default would ask at the terminal.
int no_passphrase(char *, int, int, void *)
{
    return -1;
}

template <class Write>
std::string pem_of(Write write)
{
    const ssl::Bio memory{BIO_new(BIO_s_mem())};
    if (!memory || write(memory.get()) != 1)
        ssl::fail("write PEM");
    char *text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
}

std::string pem_of(X509 *certificate)
{
    return pem_of([certificate](BIO *to) { return PEM_write_bio_X509(to, certificate); });
}

template <class T, class Encode>
std::string der_of(T *value, Encode encode)
{
    unsigned char *bytes = nullptr;
    const int size = encode(value, &bytes);
    if (size <= 0)
        ssl::fail("write DER");
    std::string der{reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(size)};
    OPENSSL_free(bytes);
    return der;
}

ssl::Bio reader_of(const std::string &text)
{
    ssl::Bio reader{BIO_new_mem_buf(text.data(), static_cast<int>(text.size()))};
    if (!reader)
        throw std::bad_alloc{};
    return reader;
}

/// False for a text that a name cannot hold.
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
    const ssl::Held<X509_EXTENSION, X509_EXTENSION_free> extension{X509V3_EXT_conf_nid(nullptr, &context, kind, value)};
    if (!extension || X509_add_ext(certificate, extension.get(), -1) != 1)
        ssl::fail("extend a certificate");
}

/// A certificate that begins now, with a number that nobody can guess.
ssl::Certificate new_certificate(EVP_PKEY *key, int days)
{
    ssl::Certificate made{X509_new()};
    const ssl::Held<BIGNUM, BN_free> serial{BN_new()};
    constexpr int serial_bits = 127; // positive in 16 bytes
    if (!made || !serial || X509_set_version(made.get(), X509_VERSION_3) != 1 ||
        BN_rand(serial.get(), serial_bits, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) != 1 ||
        !BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(made.get())) ||
        !X509_gmtime_adj(X509_getm_notBefore(made.get()), -clock_skew_s) ||
        !X509_gmtime_adj(X509_getm_notAfter(made.get()), days * seconds_per_day) ||
        X509_set_pubkey(made.get(), key) != 1)
        ssl::fail("make a certificate");
    return made;
}

ssl::Request read_request(const std::string &csr)
{
    if (csr.size() > longest_request)
        throw CertificateRefused{"the signing request is longer than " + std::to_string(longest_request) + " bytes"};
    ssl::Request request{PEM_read_bio_X509_REQ(reader_of(csr).get(), nullptr, no_passphrase, nullptr)};
    if (!request)
        throw CertificateRefused{"this is no signing request in PEM: " + ssl::reason()};
    EVP_PKEY *key = X509_REQ_get0_pubkey(request.get());
    if (!key)
        throw CertificateRefused{"the signing request has no key that can be used: " + ssl::reason()};
    if (X509_REQ_verify(request.get(), key) != 1)
        throw CertificateRefused{"the signature of the signing request is wrong: it must be made with the key that "
                                 "the certificate is for"};
    if (EVP_PKEY_get_security_bits(key) < least_security_bits)
        throw CertificateRefused{"the key is too weak: RSA with 2048 bits or a curve of 224 is the least"};
    return request;
}

void write_file(const std::string &path, const std::string &text, mode_t mode)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (fd < 0)
        throw std::system_error{errno, std::generic_category(), "cannot make " + path};
    const bool whole = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    const int error = errno;
    ::close(fd);
    if (whole)
        return;
    ::unlink(path.c_str());
    throw std::system_error{error, std::generic_category(), "cannot write " + path};
}

std::string read_file(const std::string &path)
{
    std::ifstream file{path, std::ios::binary};
    std::string text{std::istreambuf_iterator<char>{file}, {}};
    if (!file)
        throw std::runtime_error{"cannot read " + path};
    return text;
}

void must_be_private(const std::string &path)
{
    struct stat facts = {};
    if (::stat(path.c_str(), &facts) != 0)
        throw std::system_error{errno, std::generic_category(), "cannot read " + path};
    if ((facts.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        throw std::runtime_error{path + " can be read by others: chmod 600 it, or have a new authority made"};
}

} // namespace

Authority::Authority(const std::string &directory)
{
    if (directory.empty())
        return;
    const std::string key_file = std::filesystem::path{directory} / key_name;
    const std::string certificate_file = std::filesystem::path{directory} / certificate_name;
    const bool has_key = std::filesystem::exists(key_file);
    if (has_key != std::filesystem::exists(certificate_file))
        throw std::runtime_error{"of " + key_file + " and " + certificate_file +
                                 " only one is there: put the other back, or remove both to have new ones made"};
    if (has_key) {
        identity_ = load(key_file, certificate_file);
        return;
    }
    identity_ = make();
    if (::mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        throw std::system_error{errno, std::generic_category(), "cannot make " + directory};
    EVP_PKEY *key = identity_->key.get();
    write_file(key_file, pem_of([key](BIO *to) {
                   return PEM_write_bio_PKCS8PrivateKey(to, key, nullptr, nullptr, 0, nullptr, nullptr);
               }),
               S_IRUSR | S_IWUSR);
    write_file(certificate_file, identity_->pem, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
}

Authority::Identity Authority::make()
{
    constexpr int days = 3650;
    ssl::Key key{EVP_EC_gen("P-256")};
    if (!key)
        ssl::fail("make a key");
    ssl::Certificate own = new_certificate(key.get(), days);
    X509_NAME *name = X509_get_subject_name(own.get());
    if (!add(name, "O", "Korvane") || !add(name, "CN", "Korvane virtual agent CA") ||
        X509_set_issuer_name(own.get(), name) != 1)
        ssl::fail("name a certificate");
    extend(own.get(), own.get(), NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    extend(own.get(), own.get(), NID_key_usage, "critical,keyCertSign,digitalSignature");
    extend(own.get(), own.get(), NID_subject_key_identifier, "hash");
    if (X509_sign(own.get(), key.get(), EVP_sha256()) == 0)
        ssl::fail("sign a certificate");
    std::string pem = pem_of(own.get());
    return {std::move(key), std::move(own), std::move(pem)};
}

Authority::Identity Authority::load(const std::string &key_file, const std::string &certificate_file)
{
    must_be_private(key_file);
    ssl::Key key{PEM_read_bio_PrivateKey(reader_of(read_file(key_file)).get(), nullptr, no_passphrase, nullptr)};
    if (!key)
        throw std::runtime_error{"there is no key in " + key_file + ", or it has a passphrase: " + ssl::reason()};
    std::string pem = read_file(certificate_file);
    ssl::Certificate own{PEM_read_bio_X509(reader_of(pem).get(), nullptr, no_passphrase, nullptr)};
    if (!own)
        throw std::runtime_error{"there is no certificate in " + certificate_file + ": " + ssl::reason()};
    char group[32] = "";
    std::size_t size = 0;
    EVP_PKEY_get_group_name(key.get(), group, sizeof group, &size);
    if (std::strcmp(group, "prime256v1") != 0)
        throw std::runtime_error{"the key in " + key_file +
                                 " must be one of the curve P-256, which tokens are signed with"};
    if (X509_check_private_key(own.get(), key.get()) != 1) {
        ssl::reason();
        throw std::runtime_error{"the certificate in " + certificate_file + " is not for the key in " + key_file};
    }
    if (X509_check_ca(own.get()) == 0)
        throw std::runtime_error{"the certificate in " + certificate_file + " is not that of an authority"};
    return {std::move(key), std::move(own), std::move(pem)};
}

const Authority::Identity &Authority::identity()
{
    if (!identity_)
        identity_ = make();
    return *identity_;
}

const std::string &Authority::certificate()
{
    return identity().pem;
}

IssuedCertificate Authority::issue(const std::string &device_id, const std::string &device_type, const std::string &csr)
{
    constexpr int days = 365;
    const ssl::Request request = read_request(csr);
    const Identity &own = identity();
    const ssl::Certificate made = new_certificate(X509_REQ_get0_pubkey(request.get()), days);

    // Who the device is says the cloud, not the request.
    X509_NAME *name = X509_get_subject_name(made.get());
    if (!add(name, "CN", device_id))
        throw CertificateRefused{"the device id cannot be a certificate's name: " + ssl::reason()};
    if (!device_type.empty() && !add(name, "OU", device_type))
        throw CertificateRefused{"the device type cannot stand in a certificate: " + ssl::reason()};
    if (X509_set_issuer_name(made.get(), X509_get_subject_name(own.certificate.get())) != 1)
        ssl::fail("name a certificate");
    extend(made.get(), own.certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    extend(made.get(), own.certificate.get(), NID_key_usage, "critical,digitalSignature");
    extend(made.get(), own.certificate.get(), NID_ext_key_usage, "clientAuth");
    extend(made.get(), own.certificate.get(), NID_subject_key_identifier, "hash");
    extend(made.get(), own.certificate.get(), NID_authority_key_identifier, "keyid:always");
    if (X509_sign(made.get(), own.key.get(), EVP_sha256()) == 0)
        ssl::fail("sign a certificate");

    if (issued_.size() == most_issued)
        issued_.pop_front();
    issued_.push_back({arn_prefix + ssl::sha256_hex(der_of(made.get(), i2d_X509)), pem_of(made.get()), own.pem});
    return issued_.back();
}

std::optional<IssuedCertificate> Authority::find(const std::string &id) const
{
    const auto found =
        std::find_if(issued_.begin(), issued_.end(), [&](const IssuedCertificate &one) { return one.id == id; });
    return found == issued_.end() ? std::nullopt : std::optional{*found};
}

std::string Authority::sign(const std::string &text)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(text.data());
    const ssl::Digest digest{EVP_MD_CTX_new()};
    std::size_t size = 0;
    if (!digest || EVP_DigestSignInit(digest.get(), nullptr, EVP_sha256(), nullptr, identity().key.get()) != 1 ||
        EVP_DigestSign(digest.get(), nullptr, &size, bytes, text.size()) != 1)
        ssl::fail("sign a token");
    std::string der(size, '\0');
    if (EVP_DigestSign(digest.get(), reinterpret_cast<unsigned char *>(der.data()), &size, bytes, text.size()) != 1)
        ssl::fail("sign a token");

    const auto *at = reinterpret_cast<const unsigned char *>(der.data());
    const ssl::Held<ECDSA_SIG, ECDSA_SIG_free> numbers{d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(size))};
    std::string signature(2 * number_size, '\0');
    auto *to = reinterpret_cast<unsigned char *>(signature.data());
    if (!numbers || BN_bn2binpad(ECDSA_SIG_get0_r(numbers.get()), to, number_size) != number_size ||
        BN_bn2binpad(ECDSA_SIG_get0_s(numbers.get()), to + number_size, number_size) != number_size)
        ssl::fail("sign a token");
    return signature;
}

std::string Authority::key_id()
{
    return ssl::sha256_hex(der_of(identity().key.get(), i2d_PUBKEY));
}

} // namespace kv::virtual_agent
