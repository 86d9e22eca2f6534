// SPDX-License-Identifier: Apache-2.0
// Whatever passes through the virtual agent, its journal, its words and its answers to commands show no secret.
#include "application.hpp"
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

/// Where this process and what it starts write their errors, instead of the test's own.
class CaughtErrors {
public:
    explicit CaughtErrors(std::string path) : path_(std::move(path)), before_(::dup(STDERR_FILENO))
    {
        const int file = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        ::dup2(file, STDERR_FILENO);
        ::close(file);
    }
    CaughtErrors(const CaughtErrors &) = delete;
    CaughtErrors &operator=(const CaughtErrors &) = delete;
    ~CaughtErrors()
    {
        ::dup2(before_, STDERR_FILENO);
        ::close(before_);
    }

    std::string text() const { return read_file(path_); }

private:
    std::string path_;
    int before_;
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

/// A request that brings a secret.
struct Told {
    const char *method;
    int minimum_version;
    int (*tell)(korvane_h handle, const char *text);
};

const Told told[] = {
    {"set_preconfigured_pin", 1000, korvane_set_preconfigured_pin},
    {"set_random_pin", 1004, korvane_set_random_pin},
    {"set_sso_list", 1003, korvane_set_sso_list},
    {"", 1000, sign_up_with<korvane_cloudinfo_set_access_token>}, // of one method or the other
    {"", 1000, sign_up_with<korvane_cloudinfo_set_refresh_token>},
    {"set_tnc_data", 1003, set_terms},
    {"common_interface", 2000,
     [](korvane_h h, const char *text) {
         return korvane_send_custom_push_msg(h, (std::string("\"") + text + "\"").c_str());
     }},
    {"create_hdr_certificate", 2001,
     [](korvane_h h, const char *text) { return korvane_create_hdr_certificate(h, "lamp", text, ignore, nullptr); }},
    {"create_hdr_token_info_custom", 2003,
     [](korvane_h h, const char *text) { return korvane_create_hdr_token_info_custom(h, text, ignore, nullptr); }},
};

/// An event that brings a secret; "@" stands for it.
struct Emitted {
    const char *event;
    int minimum_version;
    int below_version;
    int (*listen)(korvane_h handle, int *heard);
    const char *values;
};

constexpr int any_later = 9999;

template <class... Values>
void hear(korvane_h, Values..., void *heard)
{
    ++*static_cast<int *>(heard);
}

int listen_for_ap(korvane_h h, int *heard)
{
    return korvane_set_wifi_ap_provisioning_cb(h, hear<korvane_ap_info_h>, heard);
}

const Emitted emitted[] = {
    {"pin_generate_cb", 1000, any_later,
     [](korvane_h h, int *heard) { return korvane_set_pin_cb(h, hear<const char *, int>, ignore, heard); },
     R"(["@",1])"},
    {"ultrasound_pin_generate_cb", 1001, any_later,
     [](korvane_h h, int *heard) { return korvane_set_ultrasound_pin_cb(h, hear<const char *, int>, ignore, heard); },
     R"(["@",1])"},
    {"wifi_ap_provisioning_cb", 1000, 1003, listen_for_ap, R"([{"ssid":"home","pwd":"@"}])"},
    {"wifi_ap_prov_with_candidates_cb", 1003, any_later, listen_for_ap, R"([{"ap_ssid":"home","ap_pwd":"@"}])"},
    {"tnc_result_cb", 1003, any_later,
     [](korvane_h h, int *heard) { return korvane_set_tnc_result_cb(h, hear<const char *>, heard); }, R"(["@"])"},
    {"diagnostics_cb", 2002, any_later,
     [](korvane_h h, int *heard) { return korvane_set_diagnostics_cb(h, hear<int, const char *>, heard); },
     R"([1,"@"])"},
};

class AgentSecrets : public testing::TestWithParam<const char *> {
protected:
    bool knows(int minimum_version) const { return number_of(GetParam()) >= minimum_version; }

    /// All that the agent shows of itself, by what shows it.
    std::vector<std::pair<std::string, std::string>> shown()
    {
        std::string journal;
        for (const std::string &line : home.journal())
            journal += line + "\n";
        return {
            {"journal", journal}, {"words", words()}, {"library", errors.text()}, {"state", agent.reply_to("state")}};
    }

    /// What the agent says aloud.
    std::string words() const { return read_file(home.root() / "agent.err"); }

    AgentHome home;
    CaughtErrors errors{home.root() / "words"};
    AgentProcess agent{home, {"--verbose", "--agent-version", GetParam()}};
    Application application;
};

INSTANTIATE_TEST_SUITE_P(OfEveryForm, AgentSecrets, testing::Values("1.0", "1.2", "1.3", "2.0", "2.1", "2.3"),
                         [](const auto &version) {
                             return std::string{"Version"} + version.param[0] + "_" + version.param[2];
                         });

TEST_P(AgentSecrets, OfRequestsAreShownByTheirLengthOnly)
{
    ASSERT_TRUE(application.connect());
    for (const Told &row : told) {
        if (!knows(row.minimum_version))
            continue;
        EXPECT_EQ(row.tell(application.handle, secret.c_str()), ok) << row.method;
        EXPECT_GT(home.count_in_journal({std::string{R"("method":")"} + row.method, "<secret, "}), 0) << row.method;
    }
    for (const auto &[what, text] : shown()) {
        EXPECT_EQ(text.find(secret), std::string::npos) << what << ": " << text;
        const bool tells = what != "library"; // which has nothing to say of them
        EXPECT_EQ(text.find(masked) != std::string::npos, tells) << what << ": " << text;
    }
}

/// The answers that come later carry samples: a token, a certificate and its key.
TEST_P(AgentSecrets, OfEventsAreShownByTheirLengthOnly)
{
    ASSERT_TRUE(application.connect());
    for (const Emitted &row : emitted) {
        if (!knows(row.minimum_version) || knows(row.below_version))
            continue;
        SCOPED_TRACE(row.event);
        int heard = 0;
        ASSERT_EQ(row.listen(application.handle, &heard), ok);
        std::string values = row.values;
        agent.run_command(std::string{"emit "} + row.event + " " + values.replace(values.find('@'), 1, secret));
        EXPECT_TRUE(run_main_loop_until([&] { return heard == 1; }));
        EXPECT_EQ(home.count_in_journal({std::string{R"("event":")"} + row.event, "<secret, "}), 1);
    }
    if (knows(2001)) {
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
    EXPECT_NE(words().find(masked), std::string::npos);
}

/// A request that cannot be read whole is shown as far as it goes.
TEST_P(AgentSecrets, OfRequestsThatGoWrongAreShownByTheirLengthOnly)
{
    ::setenv("KORVANE_REPLY_TIMEOUT_MS", "200", 1); // a reply of another kind is waited out
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
