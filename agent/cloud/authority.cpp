// SPDX-License-Identifier: Apache-2.0
#include "authority.hpp"

#include "agent/files/descriptor.hpp"
#include "agent/files/read_file.hpp"
#include "certificates.hpp"

#include <openssl/ecdsa.h>
#include <openssl/pem.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kv::virtual_agent {

namespace {

constexpr const char *key_name = "ca.key";
constexpr const char *certificate_name = "ca.pem";
constexpr const char *arn_prefix = "arn:korvane:certificate:";
constexpr std::size_t max_file = 64 << 10;
constexpr int number_size = 32; // each of the two numbers of a P-256 signature

void write_all(int fd, const std::string &text, const std::string &path)
{
    for (std::size_t written = 0; written < text.size();) {
        const ssize_t count = ::write(fd, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR)
            throw std::system_error{errno, std::generic_category(), "cannot write " + path};
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

/// A new file that has another name until publish(). Without publish() it is removed.
class NewFile {
public:
    NewFile(const std::string &path, const std::string &text) : path_(path), temporary_(path + ".new")
    {
        ::unlink(temporary_.c_str()); // of an agent that was killed
        const Descriptor file{::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR)};
        if (file.get() < 0)
            throw std::system_error{errno, std::generic_category(), "cannot create " + path_};
        try {
            write_all(file.get(), text, path_);
        } catch (...) {
            ::unlink(temporary_.c_str());
            throw;
        }
    }
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;
    ~NewFile() { ::unlink(temporary_.c_str()); }

    void publish() const
    {
        if (::rename(temporary_.c_str(), path_.c_str()) != 0)
            throw std::system_error{errno, std::generic_category(), "cannot create " + path_};
    }

private:
    std::string path_;
    std::string temporary_;
};

/// Creates the directory if it is missing, and locks it against other agents that create an authority there. A file system
/// without locks is used without a lock.
Descriptor locked(const std::string &directory)
{
    if (::mkdir(directory.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        throw std::system_error{errno, std::generic_category(), "cannot create " + directory};
    Descriptor opened{::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (opened.get() < 0)
        throw std::system_error{errno, std::generic_category(), "cannot open " + directory};
    while (::flock(opened.get(), LOCK_EX) != 0 && errno == EINTR)
        ;
    return opened;
}

/// Creates both files or none.
void create_files(const std::string &key_file, const std::string &key, const std::string &certificate_file,
                  const std::string &certificate)
{
    const NewFile new_key{key_file, key};
    const NewFile new_certificate{certificate_file, certificate};
    new_certificate.publish();
    try {
        new_key.publish();
    } catch (...) {
        ::unlink(certificate_file.c_str());
        throw;
    }
}

void must_be_private(const std::string &path)
{
    struct stat facts = {};
    if (::stat(path.c_str(), &facts) != 0)
        throw std::system_error{errno, std::generic_category(), "cannot read " + path};
    if ((facts.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        throw std::runtime_error{path +
                                 " can be read by others: run chmod 600 on it, or remove it to create a new authority"};
}

} // namespace

Authority::Authority(const std::string &directory)
{
    if (directory.empty())
        return;
    const std::string key_file = std::filesystem::path{directory} / key_name;
    const std::string certificate_file = std::filesystem::path{directory} / certificate_name;
    const auto exist = [&] {
        return std::pair{std::filesystem::exists(key_file), std::filesystem::exists(certificate_file)};
    };
    // Another agent may be creating the files, so their absence counts under the lock only.
    if (exist() == std::pair{true, true}) {
        identity_ = load(key_file, certificate_file);
        return;
    }
    const Descriptor lock = locked(directory);
    const auto [has_key, has_certificate] = exist();
    if (has_key != has_certificate)
        throw std::runtime_error{"of " + key_file + " and " + certificate_file +
                                 " only one exists: restore the other one, or remove both to create a new authority"};
    if (has_key) {
        identity_ = load(key_file, certificate_file);
        return;
    }
    identity_ = make();
    EVP_PKEY *key = identity_->key.get();
    const std::string key_text = ssl::pem_of(
        [key](BIO *to) { return PEM_write_bio_PKCS8PrivateKey(to, key, nullptr, nullptr, 0, nullptr, nullptr); });
    create_files(key_file, key_text, certificate_file, identity_->pem);
}

Authority::Identity Authority::make()
{
    constexpr int days = 3650;
    ssl::Key key{EVP_EC_gen("P-256")};
    if (!key)
        ssl::fail("make a key");
    ssl::Certificate own = ssl::new_certificate(key.get(), days);
    X509_NAME *name = X509_get_subject_name(own.get());
    if (!ssl::add(name, "O", "Korvane") || !ssl::add(name, "CN", "Korvane virtual agent CA") ||
        X509_set_issuer_name(own.get(), name) != 1)
        ssl::fail("name a certificate");
    ssl::extend(own.get(), own.get(), NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    ssl::extend(own.get(), own.get(), NID_key_usage, "critical,keyCertSign,digitalSignature");
    ssl::extend(own.get(), own.get(), NID_subject_key_identifier, "hash");
    if (X509_sign(own.get(), key.get(), EVP_sha256()) == 0)
        ssl::fail("sign a certificate");
    std::string pem = ssl::pem_of(own.get());
    return {std::move(key), std::move(own), std::move(pem)};
}

Authority::Identity Authority::load(const std::string &key_file, const std::string &certificate_file)
{
    must_be_private(key_file);
    ssl::Key key = ssl::read_key(read_file(key_file, max_file));
    if (!key)
        throw std::runtime_error{"cannot read a key without a passphrase from " + key_file + ": " + ssl::reason()};
    std::string pem = read_file(certificate_file, max_file);
    ssl::Certificate own = ssl::read_certificate(pem);
    if (!own)
        throw std::runtime_error{"cannot read a certificate from " + certificate_file + ": " + ssl::reason()};
    char group[32] = "";
    std::size_t size = 0;
    EVP_PKEY_get_group_name(key.get(), group, sizeof group, &size);
    if (std::strcmp(group, "prime256v1") != 0)
        throw std::runtime_error{"the key in " + key_file + " must be on the curve P-256, which signs tokens"};
    if (X509_check_private_key(own.get(), key.get()) != 1) {
        ssl::reason();
        throw std::runtime_error{"the certificate in " + certificate_file + " is not for the key in " + key_file};
    }
    if (X509_check_ca(own.get()) == 0)
        throw std::runtime_error{"the certificate in " + certificate_file + " is not a CA certificate"};
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
    const ssl::Request request = ssl::read_request(csr);
    const Identity &own = identity();
    const ssl::Certificate made = ssl::new_certificate(X509_REQ_get0_pubkey(request.get()), days);

    // The cloud decides the name; that of the request is ignored.
    X509_NAME *name = X509_get_subject_name(made.get());
    if (!ssl::add(name, "CN", device_id))
        throw CertificateRefused{"the device id cannot be a certificate's name: " + ssl::reason()};
    if (!device_type.empty() && !ssl::add(name, "OU", device_type))
        throw CertificateRefused{"the device type cannot be part of a certificate's name: " + ssl::reason()};
    if (X509_set_issuer_name(made.get(), X509_get_subject_name(own.certificate.get())) != 1)
        ssl::fail("name a certificate");
    ssl::extend(made.get(), own.certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    ssl::extend(made.get(), own.certificate.get(), NID_key_usage, "critical,digitalSignature");
    ssl::extend(made.get(), own.certificate.get(), NID_ext_key_usage, "clientAuth");
    ssl::extend(made.get(), own.certificate.get(), NID_subject_key_identifier, "hash");
    ssl::extend(made.get(), own.certificate.get(), NID_authority_key_identifier, "keyid:always");
    if (X509_sign(made.get(), own.key.get(), EVP_sha256()) == 0)
        ssl::fail("sign a certificate");

    if (issued_.size() == max_issued)
        issued_.pop_front();
    issued_.push_back({arn_prefix + ssl::sha256_hex(ssl::der_of(made.get())), ssl::pem_of(made.get()), own.pem});
    return issued_.back();
}

int Authority::invalidate(Validity reason)
{
    int count = 0;
    for (IssuedCertificate &one : issued_)
        if (one.validity == Validity::valid) {
            one.validity = reason;
            ++count;
        }
    return count;
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
    return ssl::sha256_hex(ssl::der_of(identity().key.get()));
}

} // namespace kv::virtual_agent
