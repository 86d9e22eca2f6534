// SPDX-License-Identifier: Apache-2.0
// The journal of the virtual agent, its verbose output and its replies to commands show no secret.
#include "e2e/fixtures/application.hpp"
#include "testing/support/read_file.hpp"

#include <gtest/gtest.h>

#include <cstring>

#include <fcntl.h>
#include <unistd.h>

using namespace kv::test;

namespace {

const std::string secret = "pl4nted-5ecret";
const std::string masked = "<secret, 14 bytes>";
constexpr int ok = KORVANE_ERROR_NONE;
constexpr auto ignore = [](auto...) {};

/// Redirects standard error of this process, and of processes that it starts, to a file.
class RedirectedErrors {
public:
    explicit RedirectedErrors(std::string path) : path_(std::move(path)), previous_(::dup(STDERR_FILENO))
    {
        const int file = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        ::dup2(file, STDERR_FILENO);
        ::close(file);
    }
    RedirectedErrors(const RedirectedErrors &) = delete;
    RedirectedErrors &operator=(const RedirectedErrors &) = delete;
    ~RedirectedErrors()
    {
        ::dup2(previous_, STDERR_FILENO);
        ::close(previous_);
    }

    std::string text() const { return read_file(path_); }

private:
    std::string path_;
    int previous_;
};

int number_of(const std::string &version)
{
    return (version[0] - '0') * 1000 + (version[2] - '0');
}

template <auto Set>
int sign_up_with(korvane_h handle, const char *text)
{
    korvane_cloud_info_h info = nullptr;
    EXPECT_EQ(korvane_cloudinfo_create(&info), ok);
    EXPECT_EQ(korvane_cloudinfo_set_access_token(info, "refused without one"), ok);
    EXPECT_EQ(Set(info, text), ok);
    const int result = korvane_sign_up_cloud(handle, info);
    EXPECT_EQ(korvane_cloudinfo_destroy(info), ok);
    return result;
}

int set_terms(korvane_h handle, const char *text)
{
    korvane_tnc_info_h info = nullptr;
    EXPECT_EQ(korvane_tnc_info_create(&info), ok);
    EXPECT_EQ(korvane_tncinfo_set_header(info, text), ok);
    const int result = korvane_set_tnc_info(handle, info);
    EXPECT_EQ(korvane_tnc_info_destroy(info), ok);
    return result;
}

int set_profile(korvane_h handle, const char *text)
{
    korvane_device_profile_info_h info = nullptr;
    EXPECT_EQ(korvane_device_profile_info_create(&info), ok);
    EXPECT_EQ(korvane_device_profile_info_set_push_reg_id(info, text), ok);
    const int result = korvane_set_device_profile_info(handle, info);
    EXPECT_EQ(korvane_device_profile_info_destroy(info), ok);
    return result;
}

/// A request with a secret argument.
struct SecretRequest {
    const char *method; // empty: one of two, depending on the version
    int min_version;
    int (*send)(korvane_h handle, const char *text);
};

const SecretRequest secret_requests[] = {
    {.method = "set_preconfigured_pin", .min_version = 1000, .send = korvane_set_preconfigured_pin},
    {.method = "set_random_pin", .min_version = 1004, .send = korvane_set_random_pin},
    {.method = "set_sso_list", .min_version = 1003, .send = korvane_set_sso_list},
    {.method = "", .min_version = 1000, .send = sign_up_with<korvane_cloudinfo_set_access_token>},
    {.method = "", .min_version = 1000, .send = sign_up_with<korvane_cloudinfo_set_refresh_token>},
    {.method = "set_tnc_data", .min_version = 1003, .send = set_terms},
    {.method = "set_device_profile", .min_version = 1003, .send = set_profile},
    {.method = "set_provisioning_vendor_info", .min_version = 1003, .send = korvane_set_provisioning_vendor_info},
    {.method = "common_interface",
     .min_version = 2000,
     .send =
         [](korvane_h h, const char *text) {
             return korvane_send_custom_push_msg(h, (std::string("\"") + text + "\"").c_str());
         }},
    {.method = "create_hdr_certificate",
     .min_version = 2001,
     .send = [](korvane_h h,
                const char *text) { return korvane_create_hdr_certificate(h, "lamp", text, ignore, nullptr); }},
    {.method = "create_hdr_token_info_custom",
     .min_version = 2003,
     .send = [](korvane_h h,
                const char *text) { return korvane_create_hdr_token_info_custom(h, text, ignore, nullptr); }},
};

/// An event with a secret value.
struct SecretEvent {
    const char *event;
    int min_version;
    int end_version = 9999; // the first version that does not send it
    int (*listen)(korvane_h handle, int *received);
    const char *values; // "@" is replaced by the secret
};

template <class... Values>
void count(korvane_h, Values..., void *received)
{
    ++*static_cast<int *>(received);
}

int listen_for_ap(korvane_h h, int *received)
{
    return korvane_set_wifi_ap_provisioning_cb(h, count<korvane_ap_info_h>, received);
}

const SecretEvent secret_events[] = {
    {.event = "pin_generate_cb",
     .min_version = 1000,
     .listen = [](korvane_h h,
                  int *received) { return korvane_set_pin_cb(h, count<const char *, int>, ignore, received); },
     .values = R"(["@",1])"},
    {.event = "ultrasound_pin_generate_cb",
     .min_version = 1001,
     .listen =
         [](korvane_h h, int *received) {
             return korvane_set_ultrasound_pin_cb(h, count<const char *, int>, ignore, received);
         },
     .values = R"(["@",1])"},
    {.event = "wifi_ap_provisioning_cb",
     .min_version = 1000,
     .end_version = 1003,
     .listen = listen_for_ap,
     .values = R"([{"ssid":"home","pwd":"@"}])"},
    {.event = "wifi_ap_prov_with_candidates_cb",
     .min_version = 1003,
     .listen = listen_for_ap,
     .values = R"([{"ap_ssid":"home","ap_pwd":"@"}])"},
    {.event = "tnc_result_cb",
     .min_version = 1003,
     .listen = [](korvane_h h, int *received) { return korvane_set_tnc_result_cb(h, count<const char *>, received); },
     .values = R"(["@"])"},
    {.event = "diagnostics_cb",
     .min_version = 2002,
     .listen = [](korvane_h h,
                  int *received) { return korvane_set_diagnostics_cb(h, count<int, const char *>, received); },
     .values = R"([1,"@"])"},
};

class AgentSecrets : public testing::TestWithParam<const char *> {
protected:
    bool is_at_least(int version) const { return number_of(GetParam()) >= version; }

    /// Everything that the agent and the library print, by name.
    std::vector<std::pair<std::string, std::string>> shown()
    {
        std::string journal;
        for (const std::string &line : home.journal())
            journal += line + "\n";
        return {{"journal", journal},
                {"verbose output", verbose_output()},
                {"library", errors.text()},
                {"state", agent.reply_to("state")}};
    }

    std::string verbose_output() const { return read_file(home.root() / "agent.err"); }

    AgentHome home;
    RedirectedErrors errors{home.root() / "library.err"};
    AgentProcess agent{home, {"--verbose", "--agent-version", GetParam()}};
    Application application;
};

INSTANTIATE_TEST_SUITE_P(EveryWireFormat, AgentSecrets, testing::Values("1.0", "1.2", "1.3", "2.0", "2.1", "2.3"),
                         [](const auto &version) {
                             return std::string{"Version"} + version.param[0] + "_" + version.param[2];
                         });

TEST_P(AgentSecrets, OfRequestsAreShownOnlyByTheirLength)
{
    ASSERT_TRUE(application.connect());
    for (const SecretRequest &row : secret_requests) {
        if (!is_at_least(row.min_version))
            continue;
        EXPECT_EQ(row.send(application.handle, secret.c_str()), ok) << row.method;
        EXPECT_GT(home.count_in_journal({std::string{R"("method":")"} + row.method, "<secret, "}), 0) << row.method;
    }
    for (const auto &[what, text] : shown()) {
        EXPECT_EQ(text.find(secret), std::string::npos) << what << ": " << text;
        const bool shows_length = what != "library"; // its log does not mention these values
        EXPECT_EQ(text.find(masked) != std::string::npos, shows_length) << what << ": " << text;
    }
}

/// The events of one-shot requests contain sample values: a token, a certificate and its key.
TEST_P(AgentSecrets, OfEventsAreShownOnlyByTheirLength)
{
    ASSERT_TRUE(application.connect());
    for (const SecretEvent &row : secret_events) {
        if (!is_at_least(row.min_version) || is_at_least(row.end_version))
            continue;
        SCOPED_TRACE(row.event);
        int received = 0;
        ASSERT_EQ(row.listen(application.handle, &received), ok);
        std::string values = row.values;
        agent.run_command(std::string{"emit "} + row.event + " " + values.replace(values.find('@'), 1, secret));
        EXPECT_TRUE(run_main_loop_until([&] { return received == 1; }));
        EXPECT_EQ(home.count_in_journal({std::string{R"("event":")"} + row.event, "<secret, "}), 1);
    }
    if (is_at_least(2001)) {
        const auto listen = [](korvane_h, int, const char *, const char *, void *) {};
        EXPECT_EQ(korvane_get_hdr_certificate(application.handle, "lamp", "arn", listen, nullptr), ok);
        EXPECT_EQ(korvane_create_hdr_token_info(application.handle, ignore, nullptr), ok);
        EXPECT_TRUE(run_main_loop_until([&] {
            return home.count_in_journal({"create_hdr_token_info_cb", "<secret, "}) == 1;
        }));
    }
    for (const auto &[what, text] : shown())
        for (const std::string &one : {secret, std::string{"virtual-agent-certificate"},
                                       std::string{"virtual-agent-key"}, std::string{"virtual-agent-token"}})
            EXPECT_EQ(text.find(one), std::string::npos) << what << ": " << text;
    EXPECT_NE(verbose_output().find(masked), std::string::npos);
}

/// Of a truncated request the arguments before the end are shown.
TEST_P(AgentSecrets, OfFailedRequestsAreShownOnlyByTheirLength)
{
    ::setenv("KORVANE_REPLY_TIMEOUT_MS", "1000", 1); // for the reply of another kind, which the library ignores
    for (const char *fault : {"result -13", "cut 4", "kind 9", "close"}) {
        ASSERT_TRUE(application.connect());
        agent.run_command(std::string{"fault set_preconfigured_pin "} + fault);
        EXPECT_NE(korvane_set_preconfigured_pin(application.handle, secret.c_str()), ok) << fault;
        application.deinitialize();
    }
    ::unsetenv("KORVANE_REPLY_TIMEOUT_MS");
    EXPECT_EQ(home.count_in_journal({R"("fault")", masked}), 4);
    for (const auto &[what, text] : shown())
        EXPECT_EQ(text.find(secret), std::string::npos) << what << ": " << text;
}

} // namespace
