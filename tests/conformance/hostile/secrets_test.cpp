// SPDX-License-Identifier: Apache-2.0
// Texts that pass through the library must not appear in its log. These tests put a secret into every text from the
// application and from the agent, and search every line of every priority for it. The only exceptions are the lines
// whose purpose is to show one value; they are typed here word by word.
#include "conformance/fixtures/every_registration.hpp"
#include "text_arguments.hpp"

#include <sstream>

namespace kv::test {
namespace {

constexpr int ok = KORVANE_ERROR_NONE;
constexpr int too_old = KORVANE_ERROR_AGENT_VERSION_LOWER;

/// One version for each wire format of any part of the interface.
const std::vector<std::string> agent_versions = {"1.0", "1.2", "1.3", "2.0", "2.3"};

const std::string secret = "pl4nted-5ecret";

class Secrets : public SetupTest {
protected:
    /// Returns every line that contains the secret, as "function: message".
    std::vector<std::string> lines_with_the_secret()
    {
        std::vector<std::string> lines;
        for (const LogLine &line : platform.log.lines()) {
            std::ostringstream whole;
            whole << line;
            if (whole.str().find(secret) != std::string::npos)
                lines.push_back(line.function + ": " + line.message);
        }
        return lines;
    }

    /// Reactions of the agent to a request: each kind of failure, and success.
    struct Outcome {
        const char *name;
        std::function<void(Port &, const Bytes &)> answer;
    };

    /// Replies with texts also contain the secret.
    static Bytes answer_of(const Bytes &request, int result)
    {
        const Bytes method = first(request, 4);
        for (int with_text : {28, 78, 100, 102})
            if (method == i32(with_text))
                return reply(result, str(secret));
        return reply(result);
    }

    static std::vector<Outcome> outcomes()
    {
        return {
            {.name = "answered", .answer = [](Port &port, const Bytes &request) { port.push(answer_of(request, 0)); }},
            {.name = "refused", .answer = [](Port &port, const Bytes &request) { port.push(answer_of(request, -13)); }},
            {.name = "failed", .answer = [](Port &port, const Bytes &request) { port.push(answer_of(request, 7)); }},
            {.name = "truncated",
             .answer =
                 [](Port &port, const Bytes &request) {
                     const Bytes whole = answer_of(request, 0);
                     port.push(first(whole, whole.size() - 1));
                 }},
            {.name = "of another kind",
             .answer = [](Port &port, const Bytes &) { port.push(bytes(i32(9), str(secret))); }},
            {.name = "without a reply", .answer = [](Port &, const Bytes &) {}}};
    }
};

class SecretArgument : public Secrets, public ::testing::WithParamInterface<TextArgument> {
protected:
    const TextArgument &row = GetParam();
    std::vector<std::string> the_one_line()
    {
        if (row.line.empty())
            return {};
        return {row.function + ": " + row.line_with(secret)};
    }
};

INSTANTIATE_TEST_SUITE_P(Of, SecretArgument, ::testing::ValuesIn(text_arguments()),
                         [](const auto &row) { return row.param.label(); });

TEST_P(SecretArgument, IsOnlyInItsOwnLogLineWithEveryReply)
{
    for (const std::string &version : agent_versions)
        for (const Outcome &outcome : outcomes()) {
            SCOPED_TRACE(version + ", " + outcome.name);
            connect_to(version);
            platform.main_port().on_sent = outcome.answer;
            platform.log.clear();
            const int result = row.pass(handle, secret.c_str());
            const bool refused = version_number(version) < row.minimum_version;
            if (refused)
                EXPECT_EQ(result, too_old);
            else
                EXPECT_EQ(result == ok, std::string(outcome.name) == "answered") << result;
            ASSERT_EQ(korvane_deinitialize(handle), ok);
            // One function logs its arguments before any check.
            const bool shows = !refused || row.function == "korvane_set_device_property_with_wifi_authtype";
            EXPECT_EQ(lines_with_the_secret(), shows ? the_one_line() : std::vector<std::string>{});
        }
}

TEST_P(SecretArgument, IsOnlyInItsOwnLogLineIfTheCallIsRefusedOrMemoryRunsOut)
{
    const auto expect_no_other_line = [&] {
        for (const std::string &line : lines_with_the_secret())
            EXPECT_EQ(std::vector<std::string>{line}, the_one_line());
    };
    connect_to("2.3");
    begin_install();
    EXPECT_EQ(row.pass(handle, secret.c_str()), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(row.pass(nullptr, secret.c_str()), KORVANE_ERROR_INVALID_PARAMETER);
    expect_no_other_line();
    for (const char *version : {"1.2", "2.3"}) {
        if (version_number(version) < row.minimum_version)
            continue;
        fail_each_allocation([&] { connect_to(version); }, [&] { return row.pass(handle, secret.c_str()); },
                             [&](int, int) { expect_no_other_line(); });
    }
}

/// An event with a secret text, and the one line that shows it.
struct SecretValue {
    int delegate_id;
    Bytes values;
    std::vector<std::string> lines = {};
};

std::ostream &operator<<(std::ostream &out, const SecretValue &row)
{
    return out << "delegate " << row.delegate_id;
}

const Bytes s = str(secret);
const std::string whole_ap = R"({"ap_ssid":")" + secret + R"(","ap_pwd":")" + secret + R"(","ap_bssid":")" + secret +
                             R"(","ap_candidates":")" + secret + "\"}";

const std::vector<SecretValue> values_of_registrations = {
    {.delegate_id = 5, .values = bytes(s, i32(1))},
    {.delegate_id = 7,
     .values = bytes(s, s, i32(2), i32(3), i32(6), s, i32(-40), i32(54)),
     .lines = {"_wifi_ap_provisioning_cb: ssid [" + secret + "], authtype [2], enctype [3], channel [6], bssid [" +
               secret + "]"}},
    {.delegate_id = 8,
     .values = bytes(s, s, s, s, s),
     .lines = {"_device_provisioning_cb: language [" + secret + "], country [" + secret + "], datetime [" + secret +
               "]"}},
    {.delegate_id = 11, .values = bytes(s, i32(1))},
    {.delegate_id = 13,
     .values = bytes(count(2), s, s),
     .lines = {"_cloud_device_list_cb: device_id [" + secret + "]",
               "_cloud_device_list_cb: device_id [" + secret + "]"}},
    {.delegate_id = 15, .values = bytes(i32(1), s)},
    {.delegate_id = 16,
     .values = bytes(i32(9), s, s),
     .lines = {"_provisioning_language_cb: req_id [9], type [" + secret + "], value [" + secret + "]"}},
    {.delegate_id = 17, .values = s},
    {.delegate_id = 18, .values = s},
    {.delegate_id = 18, .values = str(whole_ap)},
    {.delegate_id = 19,
     .values = bytes(i32(3), s),
     .lines = {"_nick_changed_cb: device_no [3], nick [" + secret + "]"}},
    {.delegate_id = 20, .values = s, .lines = {"_last_status_changed_cb: last_status [" + secret + "]"}},
    {.delegate_id = 25, .values = bytes(s, i32(1))},
    {.delegate_id = 31, .values = bytes(i32(1), s)},
};

/// Whether an agent of this version sends the event. Since 1.3 the access point has another event.
bool is_sent_by(const Registration &registration, const RegistrationEvent &event, int version)
{
    const bool fits = event.delegate_id == 7 ? version < 1003 : event.delegate_id != 18 || version >= 1003;
    return fits && version >= registration.minimum_version;
}

class SecretEvent : public Secrets, public ::testing::WithParamInterface<SecretValue> {};

INSTANTIATE_TEST_SUITE_P(Of, SecretEvent, ::testing::ValuesIn(values_of_registrations), [](const auto &row) {
    return "Delegate" + std::to_string(row.param.delegate_id) + "Row" + std::to_string(row.index);
});

TEST_P(SecretEvent, IsOnlyInItsOwnLogLineIfDeliveredOrDropped)
{
    const SecretValue &row = GetParam();
    int runs = 0;
    for (const std::string &version : agent_versions)
        for (const Registration &registration : every_registration())
            for (std::size_t i = 0; i < registration.events.size(); ++i) {
                if (registration.events[i].delegate_id != row.delegate_id ||
                    !is_sent_by(registration, registration.events[i], version_number(version)))
                    continue;
                SCOPED_TRACE(version + ", " + registration.label);
                ++runs;
                connect_to(version);
                ASSERT_EQ(registration.set(handle, &recorder), ok);
                const int seq_id = last_seq_id(platform.log) + 1 - static_cast<int>(registration.events.size() - i);
                const Bytes whole = event(row.delegate_id, seq_id, false, row.values);
                platform.log.clear();

                recorder.seen.clear();
                platform.proxy().push_event(whole);
                EXPECT_EQ(recorder.seen.size(), 1U);
                EXPECT_EQ(lines_with_the_secret(), row.lines);

                platform.log.clear();
                platform.proxy().push_event(first(whole, whole.size() - 1));
                platform.proxy().push_event(event(row.delegate_id, seq_id + 100, false, row.values));
                EXPECT_EQ(registration.unset(handle), ok);
                platform.proxy().push_event(whole);
                EXPECT_EQ(recorder.seen.size(), 1U);
                ASSERT_EQ(korvane_deinitialize(handle), ok);
                EXPECT_EQ(lines_with_the_secret(), std::vector<std::string>{});
            }
    EXPECT_GT(runs, 0);
}

/// Reads every value of a handle and notes it.
template <class Handle>
void read_texts(Recorder &recorder, Handle from, std::initializer_list<int (*)(Handle, char **)> getters)
{
    for (auto get : getters) {
        char *text = nullptr;
        if (get(from, &text) == ok && text)
            recorder.seen.push_back(text);
        free(text);
    }
}

void read_token(korvane_h, int, korvane_hdr_token_info_h token, void *data)
{
    auto &recorder = *static_cast<Recorder *>(data);
    recorder.seen.push_back("called");
    read_texts<korvane_hdr_token_info_h>(recorder, token,
                                         {korvane_hdr_token_info_get_uuid, korvane_hdr_token_info_get_server_name,
                                          korvane_hdr_token_info_get_server_url, korvane_hdr_token_info_get_token});
}

void read_ap(korvane_h, korvane_ap_info_h ap_info, void *data)
{
    read_texts<korvane_ap_info_h>(*static_cast<Recorder *>(data), ap_info,
                                  {korvane_apinfo_get_ssid, korvane_apinfo_get_password, korvane_apinfo_get_bssid,
                                   korvane_apinfo_get_candidate_ap});
}

void read_provisioning(korvane_h, korvane_device_prov_info_h info, void *data)
{
    read_texts<korvane_device_prov_info_h>(*static_cast<Recorder *>(data), info,
                                           {korvane_devinfo_get_language, korvane_devinfo_get_country,
                                            korvane_devinfo_get_datetime, korvane_devinfo_get_regist_mobile_device});
}

/// A one-shot request whose event contains a text.
struct LateAnswer {
    std::string name;
    int delegate_id;
    int minimum_version;
    int (*ask)(korvane_h handle, Recorder *recorder);
    Bytes values;
    unsigned seen;
    std::vector<std::string> lines = {}; // the only ones that show the text
};

std::ostream &operator<<(std::ostream &out, const LateAnswer &row)
{
    return out << row.name;
}

int ask_token(korvane_h h, Recorder *recorder)
{
    return korvane_create_hdr_token_info(h, read_token, recorder);
}
int ask_custom_token(korvane_h h, Recorder *recorder)
{
    return korvane_create_hdr_token_info_custom(h, "{}", read_token, recorder);
}

const std::string whole_token = R"({"uuid":")" + secret + R"(","server_name":")" + secret + R"(","server_url":")" +
                                secret + R"(","access_token":")" + secret + "\"}";

const std::vector<LateAnswer> late_answers = {
    {.name = "GroupId",
     .delegate_id = 26,
     .minimum_version = 1005,
     .ask = [](korvane_h h,
               Recorder *recorder) { return korvane_get_group_id(h, Note<'g', const char *>::call, recorder); },
     .values = s,
     .seen = 1,
     .lines = {"_get_group_id_cb: callback to app, group_id [" + secret + "]"}},
    {.name = "CreatedCertificate",
     .delegate_id = 29,
     .minimum_version = 2001,
     .ask =
         [](korvane_h h, Recorder *recorder) {
             return korvane_create_hdr_certificate(h, "type", "csr", Note<'c', int, const char *>::call, recorder);
         },
     .values = bytes(i32(0), s),
     .seen = 1},
    {.name = "Certificate",
     .delegate_id = 30,
     .minimum_version = 2001,
     .ask =
         [](korvane_h h, Recorder *recorder) {
             return korvane_get_hdr_certificate(h, "type", "arn", Note<'c', int, const char *, const char *>::call,
                                                recorder);
         },
     .values = bytes(i32(0), s, s),
     .seen = 1},
    {.name = "Token",
     .delegate_id = 28,
     .minimum_version = 2001,
     .ask = ask_token,
     .values = bytes(i32(0), str(whole_token)),
     .seen = 5},
    {.name = "TokenThatIsNoDocument",
     .delegate_id = 28,
     .minimum_version = 2001,
     .ask = ask_token,
     .values = bytes(i32(0), s),
     .seen = 1},
    {.name = "CustomToken",
     .delegate_id = 32,
     .minimum_version = 2003,
     .ask = ask_custom_token,
     .values = bytes(i32(0), str(whole_token)),
     .seen = 5},
    {.name = "CustomTokenThatIsNoDocument",
     .delegate_id = 32,
     .minimum_version = 2003,
     .ask = ask_custom_token,
     .values = bytes(i32(0), s),
     .seen = 1},
};

class SecretAnswer : public Secrets, public ::testing::WithParamInterface<LateAnswer> {};

INSTANTIATE_TEST_SUITE_P(Of, SecretAnswer, ::testing::ValuesIn(late_answers),
                         [](const auto &row) { return row.param.name; });

TEST_P(SecretAnswer, IsOnlyInItsOwnLogLineIfDeliveredOrDropped)
{
    const LateAnswer &row = GetParam();
    for (const std::string &version : agent_versions) {
        SCOPED_TRACE(version);
        connect_to(version);
        const bool known = version_number(version) >= row.minimum_version;
        EXPECT_EQ(row.ask(handle, &recorder), known ? ok : too_old);
        if (known) {
            const Bytes whole = event(row.delegate_id, last_seq_id(platform.log), true, row.values);
            recorder.seen.clear();
            platform.proxy().push_event(first(whole, whole.size() - 1));
            EXPECT_EQ(recorder.seen.size(), 0U);
            platform.proxy().push_event(whole);
            platform.proxy().push_event(whole);
            EXPECT_EQ(recorder.seen.size(), row.seen);
        }
        ASSERT_EQ(korvane_deinitialize(handle), ok);
        EXPECT_EQ(lines_with_the_secret(), known ? row.lines : std::vector<std::string>{});
    }
}

/// Getters return secrets to the application without logging them.
TEST_F(Secrets, AreNotLoggedByGettersOfAnAccessPoint)
{
    for (const char *version : {"1.2", "2.3"}) {
        connect_to(version);
        ASSERT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, read_ap, &recorder), ok);
        const int seq_id = last_seq_id(platform.log);
        const bool record = std::string(version) == "1.2";
        platform.proxy().push_event(record ? event(7, seq_id, false, values_of_registrations[1].values)
                                           : event(18, seq_id, false, str(whole_ap)));
        EXPECT_EQ(recorder.seen,
                  std::vector<std::string>(record ? 2 : 4, secret)); // an agent 1.2 has only two of the texts
        EXPECT_EQ(lines_with_the_secret(),
                  record ? values_of_registrations[1].lines : std::vector<std::string>{}); // that of the event
        recorder.seen.clear();
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(Secrets, AreNotLoggedByGettersOfProvisioningData)
{
    connect_to("2.3");
    ASSERT_EQ(korvane_set_device_provisioning_cb(handle, read_provisioning, &recorder), ok);
    platform.proxy().push_event(event(8, last_seq_id(platform.log), false, s, s, s, s, s));
    EXPECT_EQ(recorder.seen, std::vector<std::string>(4, secret));
    EXPECT_EQ(lines_with_the_secret(), values_of_registrations[2].lines); // that of the event
}

TEST_F(Secrets, OfReplyTextsAreOnlyInTheLogLineOfAPresence)
{
    connect_to("2.3");
    const auto answers_with = [&](const std::string &text) {
        platform.main_port().on_sent = [text](Port &port, const Bytes &) { port.push(reply(0, str(text))); };
    };
    answers_with(secret);
    char *text = nullptr;
    EXPECT_EQ(korvane_get_device_id(handle, &text), ok);
    EXPECT_EQ(text, secret);
    free(text);
    EXPECT_EQ(korvane_disable_signin(handle, true), ok);
    korvane_tcp_header_info_h header = nullptr;
    EXPECT_NE(korvane_get_tcp_header_info(handle, &header), ok); // the text is not a document
    answers_with(R"({"tcp_header_info_src_addr":")" + secret + "\"}");
    EXPECT_EQ(korvane_get_tcp_header_info(handle, &header), ok);
    EXPECT_EQ(korvane_tcp_header_info_get_src_addr(header, &text), ok);
    EXPECT_EQ(text, secret);
    free(text);
    EXPECT_EQ(korvane_release_tcp_header_info(header), ok);
    korvane_sub_dev_prs_h *list = nullptr;
    int items = 0;
    answers_with(secret);
    EXPECT_NE(korvane_get_sub_device_presence_list(handle, &list, &items), ok);
    answers_with(R"([{"di":")" + secret + R"(","prs":1}])");
    EXPECT_EQ(korvane_get_sub_device_presence_list(handle, &list, &items), ok);
    EXPECT_EQ(lines_with_the_secret(), std::vector<std::string>{});
    int presence = 0;
    EXPECT_EQ(korvane_get_sub_device_presence(list[0], &text, &presence), ok);
    free(text);
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, items), ok);
    EXPECT_EQ(lines_with_the_secret(), std::vector<std::string>{"korvane_get_sub_device_presence: device id = [" +
                                                                secret + "], presence state = [1]"});
}

TEST_F(Secrets, ThatAreMissingInAnEventHaveTheLength0InItsLogLine)
{
    connect_to("2.3");
    ASSERT_EQ(korvane_set_tnc_result_cb(handle, Note<'T', const char *>::call, &recorder), ok);
    const int seq_id = last_seq_id(platform.log);
    platform.log.clear();
    platform.returns_null_for_empty = true;
    platform.proxy().push_event(event(17, seq_id, false, str("")));
    EXPECT_EQ(platform.log.api(), (LogLines{api_info("_tnc_result_cb", "result length [0]")}));
    EXPECT_EQ(recorder.seen, (std::vector<std::string>{"T (null)"}));
}

TEST_F(Secrets, OfAnUpdateEventAreNotLogged)
{
    connect_to("2.3");
    announce(bundle_s{}.array("Start", {secret}));
    announce(bundle_s{}.text("Install", secret));
    announce(bundle_s{}.text("Complete", secret).data("Fail", raw(secret)));
    EXPECT_EQ(lines_with_the_secret(), std::vector<std::string>{});
}

} // namespace
} // namespace kv::test
