// SPDX-License-Identifier: Apache-2.0
// Certificates and tokens, verified by OpenSSL with the authority's certificate only.
#include "agent/cloud/token.hpp"
#include "support/signing_request.hpp"
#include "testing/support/temporary_directory.hpp"

#include <openssl/ecdsa.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <latch>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace kv;
using namespace kv::test;
using namespace kv::virtual_agent;

namespace {

constexpr const char *device_id = "11111111-2222-4333-8444-555555555555";

/// The reason why a request is refused; empty if it is accepted.
std::string refusal(const std::string &csr, const std::string &type = "lamp", const std::string &id = device_id)
{
    Authority authority;
    try {
        authority.issue(id, type, csr);
        return "";
    } catch (const CertificateRefused &why) {
        EXPECT_TRUE(authority.issued().empty());
        return why.what();
    }
}

bool has(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

std::string subject_of(X509 *certificate)
{
    char text[256] = "";
    X509_NAME_oneline(X509_get_subject_name(certificate), text, sizeof text);
    return text;
}

TEST(Authority, IssuesCertificatesThatOpenSslVerifies)
{
    Authority authority;
    const auto key = new_key();
    const IssuedCertificate issued = authority.issue(device_id, "x.d.lamp", request_for(key.get()));
    EXPECT_EQ(issued.chain, authority.certificate());
    const auto certificate = certificate_from(issued.pem);
    ASSERT_TRUE(certificate);
    EXPECT_TRUE(verifies(issued.pem, authority.certificate()));
    EXPECT_EQ(X509_check_purpose(certificate.get(), X509_PURPOSE_SSL_CLIENT, 0), 1);
    EXPECT_EQ(X509_check_ca(certificate.get()), 0) << "the device must not issue certificates";
    EXPECT_EQ(EVP_PKEY_eq(X509_get0_pubkey(certificate.get()), key.get()), 1);
    EXPECT_EQ(subject_of(certificate.get()), std::string{"/CN="} + device_id + "/OU=x.d.lamp")
        << "the authority decides the name, not the request";

    Authority other;
    EXPECT_FALSE(verifies(issued.pem, other.certificate()));
}

TEST(Authority, GivesEachCertificateItsOwnNameAndNumber)
{
    Authority authority;
    const std::string request = request_for(new_key().get());
    const IssuedCertificate first = authority.issue(device_id, "", request);
    const IssuedCertificate second = authority.issue(device_id, "", request);
    EXPECT_EQ(first.id.size(), std::string{"arn:korvane:certificate:"}.size() + 64);
    EXPECT_NE(first.id, second.id);
    EXPECT_EQ(authority.find(first.id)->pem, first.pem);
    EXPECT_EQ(authority.find(second.id)->pem, second.pem);
    EXPECT_FALSE(authority.find("arn:korvane:certificate:"));
    EXPECT_NE(ASN1_INTEGER_cmp(X509_get_serialNumber(certificate_from(first.pem).get()),
                               X509_get_serialNumber(certificate_from(second.pem).get())),
              0);
}

TEST(Authority, RefusesATextThatIsNotASigningRequest)
{
    const std::string good = request_for(new_key().get());
    EXPECT_EQ(refusal(good), "");
    EXPECT_TRUE(has(refusal(""), "not a signing request"));
    EXPECT_TRUE(has(refusal("-----BEGIN CERTIFICATE REQUEST-----\nAAAA\n-----END CERTIFICATE REQUEST-----\n"),
                    "not a signing request"));
    EXPECT_TRUE(has(refusal(good.substr(0, good.size() / 2)), "not a signing request"));
    EXPECT_TRUE(has(refusal(std::string(65537, 'x')), "longer than 65536 bytes"));
    // The authority must not ask for a passphrase at the terminal, because that would block the agent.
    EXPECT_TRUE(has(refusal("-----BEGIN CERTIFICATE REQUEST-----\nProc-Type: 4,ENCRYPTED\n"
                            "DEK-Info: AES-128-CBC,00112233445566778899AABBCCDDEEFF\n\nAAAA\n"
                            "-----END CERTIFICATE REQUEST-----\n"),
                    "not a signing request"));
}

TEST(Authority, RefusesARequestThatIsNotSignedWithItsKey)
{
    EXPECT_TRUE(
        has(refusal(request_for(new_key().get(), new_key().get())), "signature of the signing request is wrong"));
}

TEST(Authority, RefusesKeysThatAreTooWeak)
{
    const virtual_agent::ssl::Key weak{EVP_RSA_gen(1024)};
    const virtual_agent::ssl::Key strong{EVP_RSA_gen(2048)};
    EXPECT_TRUE(has(refusal(request_for(weak.get())), "too weak"));
    EXPECT_EQ(refusal(request_for(strong.get())), "");
}

TEST(Authority, RefusesNamesThatACertificateCannotHold)
{
    const std::string request = request_for(new_key().get());
    EXPECT_TRUE(has(refusal(request, std::string(65, 't')), "device type cannot be part"));
    EXPECT_TRUE(has(refusal(request, "lamp", std::string(65, 'd')), "device id cannot be"));
}

TEST(Authority, DropsTheOldestOfTooManyCertificates)
{
    Authority authority;
    const std::string request = request_for(new_key().get());
    const std::string first = authority.issue(device_id, "", request).id;
    for (std::size_t more = 1; more < Authority::max_issued; ++more)
        authority.issue(device_id, "", request);
    EXPECT_TRUE(authority.find(first));
    authority.issue(device_id, "", request);
    EXPECT_FALSE(authority.find(first));
}

// ---- files -----------------------------------------------------------------------------------------------------------

class AuthorityFiles : public testing::Test {
protected:
    std::string directory() const { return root_ / "ca"; }
    std::string key_file() const { return root_ / "ca" / "ca.key"; }
    std::string certificate_file() const { return root_ / "ca" / "ca.pem"; }

    static unsigned mode_of(const std::string &path)
    {
        struct stat facts = {};
        EXPECT_EQ(::stat(path.c_str(), &facts), 0) << path;
        return facts.st_mode & 0777;
    }
    std::string complaint() const
    {
        try {
            Authority authority{directory()};
            return "";
        } catch (const std::runtime_error &why) {
            return why.what();
        }
    }

private:
    TemporaryDirectory root_;
};

TEST_F(AuthorityFiles, AreCreatedOnceAndForTheirOwnerOnly)
{
    std::string certificate;
    {
        Authority first{directory()};
        certificate = first.certificate();
    }
    EXPECT_EQ(mode_of(directory()), 0700U);
    EXPECT_EQ(mode_of(key_file()), 0600U);
    Authority second{directory()};
    EXPECT_EQ(second.certificate(), certificate);
    EXPECT_TRUE(verifies(second.issue(device_id, "", request_for(new_key().get())).pem, certificate))
        << "the key must be the same too";
}

TEST_F(AuthorityFiles, AreRefusedWithAReason)
{
    Authority{directory()};
    ::chmod(key_file().c_str(), 0640);
    EXPECT_TRUE(has(complaint(), "chmod 600")) << complaint();
    ::chmod(key_file().c_str(), 0600);

    std::filesystem::rename(certificate_file(), certificate_file() + ".away");
    EXPECT_TRUE(has(complaint(), "only one exists")) << complaint();
    std::ofstream{certificate_file()} << "neither key nor certificate";
    EXPECT_TRUE(has(complaint(), "cannot read a certificate")) << complaint();

    Authority other;
    std::ofstream{certificate_file()} << other.certificate();
    EXPECT_TRUE(has(complaint(), "is not for the key")) << complaint();
    std::ofstream{key_file()} << "neither key nor certificate";
    EXPECT_TRUE(has(complaint(), "cannot read a key")) << complaint();
}

TEST_F(AuthorityFiles, CannotBeCreatedInAnUnwritableDirectory)
{
    const std::string under_nothing = directory() + "/missing/ca";
    EXPECT_THROW(Authority{under_nothing}, std::system_error);
}

/// Limits the size of files that this process writes, as a full disk does.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : former_handler_(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &former_);
        const rlimit limit{bytes, former_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &former_);
        std::signal(SIGXFSZ, former_handler_);
    }

private:
    rlimit former_{};
    void (*former_handler_)(int);
};

TEST_F(AuthorityFiles, AreCreatedTogetherOrNotAtAll)
{
    std::string reason;
    {
        const FileSizeLimit between_key_and_certificate{400};
        reason = complaint();
    }
    EXPECT_TRUE(has(reason, "cannot write " + certificate_file())) << reason;
    EXPECT_TRUE(has(reason, std::strerror(EFBIG))) << reason;
    EXPECT_TRUE(std::filesystem::is_empty(directory()));
    EXPECT_EQ(complaint(), "") << "a later start creates the authority";
}

TEST_F(AuthorityFiles, AreSharedByAgentsThatStartAtOnce)
{
    constexpr int rounds = 20;
    for (int round = 0; round < rounds; ++round) {
        std::filesystem::remove_all(directory());
        std::string certificates[4];
        std::latch start{std::size(certificates)};
        std::vector<std::thread> agents;
        for (std::string &certificate : certificates)
            agents.emplace_back([&] {
                start.arrive_and_wait();
                try {
                    certificate = Authority{directory()}.certificate();
                } catch (const std::exception &problem) {
                    certificate = problem.what();
                }
            });
        for (std::thread &agent : agents)
            agent.join();
        EXPECT_TRUE(certificate_from(certificates[0])) << certificates[0];
        for (const std::string &certificate : certificates)
            ASSERT_EQ(certificate, certificates[0]);
    }
}

// ---- tokens ----------------------------------------------------------------------------------------------------------

std::string text_in(const Json &object, const char *name)
{
    const char *text = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(object.get(), name));
    return text ? text : "";
}
double number_in(const Json &object, const char *name)
{
    return cJSON_GetNumberValue(cJSON_GetObjectItemCaseSensitive(object.get(), name));
}

struct Token {
    Json header;
    Json claims;
    bool verified;
};

Token taken_apart(const std::string &token, const std::string &authority_certificate)
{
    const std::size_t first = token.find('.');
    const std::size_t second = token.find('.', first + 1);
    return {Json::parse(from_base64url(token.substr(0, first))),
            Json::parse(from_base64url(token.substr(first + 1, second - first - 1))),
            es256_verifies(token.substr(0, second), from_base64url(token.substr(second + 1)), authority_certificate)};
}

TEST(Token, IsSignedAndNamesIssuerSubjectAndExpiry)
{
    Authority authority;
    const std::time_t before = std::time(nullptr);
    const Json info = Json::parse(new_token(authority, device_id, {}).text()); // parses the text that is sent
    const Token token = taken_apart(text_in(info, "access_token"), authority.certificate());
    EXPECT_TRUE(token.verified);
    EXPECT_EQ(text_in(token.header, "alg"), "ES256");
    EXPECT_EQ(text_in(token.header, "typ"), "JWT");
    EXPECT_EQ(text_in(token.header, "kid"), authority.key_id());
    EXPECT_EQ(text_in(token.claims, "iss"), "korvane-agent");
    EXPECT_EQ(text_in(token.claims, "sub"), device_id);
    EXPECT_EQ(text_in(token.claims, "aud"), text_in(info, "server_url"));
    EXPECT_GE(number_in(token.claims, "iat"), static_cast<double>(before));
    EXPECT_EQ(number_in(token.claims, "exp"), number_in(token.claims, "iat") + 3600);
    EXPECT_EQ(number_in(info, "expiration_time"), number_in(token.claims, "exp"));
    EXPECT_EQ(cJSON_GetObjectItem(token.claims.get(), "request_data"), nullptr);
}

TEST(Token, ContainsTheRequestDataInAClaim)
{
    Authority authority;
    const Json data = Json::parse(R"({"scope":"diagnose","sub":"another device"})");
    const Json info = new_token(authority, device_id, data);
    const Token token = taken_apart(text_in(info, "access_token"), authority.certificate());
    EXPECT_TRUE(token.verified);
    EXPECT_EQ(text_in(token.claims, "sub"), device_id);
    EXPECT_EQ(text_of(cJSON_GetObjectItem(token.claims.get(), "request_data")), data.text());
}

TEST(Token, DoesNotVerifyIfItWasChangedOrSignedByAnotherAuthority)
{
    Authority authority;
    const Json info = new_token(authority, device_id, {});
    std::string token = text_in(info, "access_token");
    Authority other;
    EXPECT_FALSE(taken_apart(token, other.certificate()).verified);
    const std::string changed = to_base64url(R"({"iss":"korvane-agent","sub":"another device"})");
    const std::size_t first = token.find('.');
    token.replace(first + 1, token.find('.', first + 1) - first - 1, changed);
    EXPECT_FALSE(taken_apart(token, authority.certificate()).verified);
}

} // namespace
