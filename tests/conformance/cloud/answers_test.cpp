// SPDX-License-Identifier: Apache-2.0
#include "cloud_fixture.hpp"

#include <functional>
#include <utility>

namespace kv::test {
namespace {

/// The calls of the callbacks of a test. User data of all of them.
struct Seen {
    std::vector<std::string> answers;
    korvane_h handle = nullptr;
    std::function<void()> inside; // what the application does in its callback
};

void note(korvane_h handle, void *user_data, std::string answer)
{
    auto &seen = *static_cast<Seen *>(user_data);
    seen.handle = handle;
    seen.answers.push_back(std::move(answer));
    if (auto inside = std::exchange(seen.inside, nullptr))
        inside();
}

void on_group_id(korvane_h handle, const char *group_id, void *user_data)
{
    note(handle, user_data, group_id);
}

void on_certificate(korvane_h handle, int result, const char *text, void *user_data)
{
    note(handle, user_data, std::to_string(result) + " " + text);
}

void on_two_texts(korvane_h handle, int result, const char *text1, const char *text2, void *user_data)
{
    note(handle, user_data, std::to_string(result) + " " + text1 + " " + text2);
}

std::string uuid_of(korvane_hdr_token_info_h token_info)
{
    char *uuid = nullptr;
    if (korvane_hdr_token_info_get_uuid(token_info, &uuid) != ok)
        return "none";
    std::string text = uuid;
    free(uuid);
    return text;
}

void on_token(korvane_h handle, int result, korvane_hdr_token_info_h token_info, void *user_data)
{
    note(handle, user_data, std::to_string(result) + " " + (token_info ? uuid_of(token_info) : "NULL"));
}

struct Question {
    std::string name;
    std::string trampoline;
    int delegate;
    int (*ask)(korvane_h handle, bool with_callback, void *user_data);
    Bytes answer;
    std::string seen;
    std::string logged;
    std::string null_text;
};

std::ostream &operator<<(std::ostream &out, const Question &question)
{
    return out << question.name;
}

const std::vector<Question> questions = {
    {.name = "korvane_get_group_id",
     .trampoline = "_get_group_id_cb",
     .delegate = 26,
     .ask = [](korvane_h h, bool with,
               void *data) { return korvane_get_group_id(h, with ? on_group_id : nullptr, data); },
     .answer = str("group-1"),
     .seen = "group-1",
     .logged = "group_id [group-1]",
     .null_text = "get_group_id_cb is NULL"},
    {.name = "korvane_create_hdr_certificate",
     .trampoline = "_create_hdr_certificate_cb",
     .delegate = 29,
     .ask =
         [](korvane_h h, bool with, void *data) {
             return korvane_create_hdr_certificate(h, "washer", "csr", with ? on_certificate : nullptr, data);
         },
     .answer = bytes(i32(0), str("arn:1")),
     .seen = "0 arn:1",
     .logged = "result [0]",
     .null_text = "create_hdr_certificate_cb is NULL"},
    {.name = "korvane_get_hdr_certificate",
     .trampoline = "_get_hdr_certificate_cb",
     .delegate = 30,
     .ask =
         [](korvane_h h, bool with, void *data) {
             return korvane_get_hdr_certificate(h, "washer", "arn:1", with ? on_two_texts : nullptr, data);
         },
     .answer = bytes(i32(-4), str("one"), str("two")),
     .seen = "-4 one two",
     .logged = "result [-4]",
     .null_text = "get_hdr_certificate_cb is NULL"},
    {.name = "korvane_create_hdr_token_info",
     .trampoline = "_create_hdr_token_info_cb",
     .delegate = 28,
     .ask = [](korvane_h h, bool with,
               void *data) { return korvane_create_hdr_token_info(h, with ? on_token : nullptr, data); },
     .answer = bytes(i32(0), str(R"({"uuid":"u-1"})")),
     .seen = "0 u-1",
     .logged = "result [0]",
     .null_text = "create_hdr_token_info_cb is NULL"},
    {.name = "korvane_create_hdr_token_info_custom",
     .trampoline = "_create_hdr_token_info_custom_cb",
     .delegate = 32,
     .ask = [](korvane_h h, bool with,
               void *data) { return korvane_create_hdr_token_info_custom(h, "{}", with ? on_token : nullptr, data); },
     .answer = bytes(i32(5), str(R"({"uuid":"u-2"})")),
     .seen = "5 u-2",
     .logged = "result [5]",
     .null_text = "create_hdr_token_info_custom_cb is NULL"},
};

/// One-shot requests of the cloud.
class CloudAnswer : public CloudTest, public ::testing::WithParamInterface<Question> {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        connect_to("2.3.1");
    }

    int ask(int answer = 0, Seen *recipient = nullptr)
    {
        arrives(reply(answer));
        const int result = row.ask(handle, true, recipient ? recipient : &seen);
        seq_id = last_seq_id(platform.log);
        platform.log.clear();
        return result;
    }

    Bytes answer() { return event(row.delegate, seq_id, true, row.answer); }
    void deliver_answer() { platform.proxy().push_event(answer()); }

    const Question &row = GetParam();
    Seen seen;
    int seq_id = 0;
};

std::string name_of(const ::testing::TestParamInfo<Question> &question)
{
    return question.param.name;
}

INSTANTIATE_TEST_SUITE_P(To, CloudAnswer, ::testing::ValuesIn(questions), name_of);

TEST_P(CloudAnswer, ReachesTheCallbackOnceAndASecondOneIsDropped)
{
    EXPECT_EQ(ask(), ok);
    deliver_answer();
    const LogLines lines = lines_of(row.trampoline);
    EXPECT_EQ(lines, (LogLines{api_info(row.trampoline, ">>> called"),
                               api_info(row.trampoline, "callback to app, " + row.logged)}));
    platform.log.clear();
    deliver_answer();
    EXPECT_EQ(platform.log.api(), LogLines{});
    EXPECT_EQ(seen.answers, (std::vector<std::string>{row.seen}));
    EXPECT_EQ(seen.handle, handle);
}

TEST_P(CloudAnswer, IsNotRequestedWithANullCallback)
{
    install_starts(); // the argument is checked before the update
    platform.log.clear();
    EXPECT_EQ(row.ask(handle, false, nullptr), bad_argument);
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info(row.name, ">>> called"), api_error(row.name, row.null_text)}));
    EXPECT_TRUE(sent().empty());
}

TEST_P(CloudAnswer, AfterAFailedRequestIsDropped)
{
    for (int code : {-13, 1}) {
        EXPECT_EQ(ask(code), code == -13 ? KORVANE_ERROR_PERMISSION_DENIED : failed);
        deliver_answer();
    }
    EXPECT_EQ(row.ask(handle, true, &seen), KORVANE_ERROR_IO_ERROR); // without a reply
    seq_id = last_seq_id(platform.log);
    deliver_answer();
    EXPECT_EQ(seen.answers, std::vector<std::string>{});
}

TEST_P(CloudAnswer, TruncatedIsDroppedAndTheWholeOneStillDelivered)
{
    EXPECT_EQ(ask(), ok);
    const Bytes whole = answer();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        platform.log.clear();
        platform.proxy().push_event(first(whole, size));
        EXPECT_EQ(platform.log.errors().size(), 1U) << size;
    }
    EXPECT_EQ(seen.answers, std::vector<std::string>{});
    platform.proxy().push_event(whole);
    EXPECT_EQ(seen.answers, (std::vector<std::string>{row.seen}));
}

TEST_P(CloudAnswer, OfEachOutstandingRequestReachesItsOwnCallback)
{
    Seen second;
    EXPECT_EQ(ask(), ok);
    const int first_seq_id = seq_id;
    EXPECT_EQ(ask(0, &second), ok);
    deliver_answer();
    EXPECT_EQ(seen.answers.size(), 0U);
    EXPECT_EQ(second.answers.size(), 1U);
    seq_id = first_seq_id;
    deliver_answer();
    EXPECT_EQ(seen.answers.size(), 1U);
    EXPECT_EQ(second.answers.size(), 1U);
}

TEST_P(CloudAnswer, IsReleasedByDeinitializeIfOutstanding)
{
    EXPECT_EQ(ask(), ok);
    EXPECT_EQ(ask(), ok);
    EXPECT_EQ(korvane_deinitialize(handle), ok); // the fixture detects leaks
    EXPECT_EQ(seen.answers, std::vector<std::string>{});
}

TEST_P(CloudAnswer, AllowsTheNextRequestInsideItsCallback)
{
    EXPECT_EQ(ask(), ok);
    Seen second;
    seen.inside = [&] { EXPECT_EQ(ask(0, &second), ok); };
    deliver_answer();
    deliver_answer();
    EXPECT_EQ(seen.answers, (std::vector<std::string>{row.seen}));
    EXPECT_EQ(second.answers, (std::vector<std::string>{row.seen}));
}

TEST_P(CloudAnswer, ThatArrivesAgainInsideItsCallbackIsDropped)
{
    EXPECT_EQ(ask(), ok);
    seen.inside = [&] { deliver_answer(); };
    deliver_answer();
    EXPECT_EQ(seen.answers, (std::vector<std::string>{row.seen}));
}

TEST_P(CloudAnswer, AllowsDeinitializeInsideItsCallback)
{
    EXPECT_EQ(ask(), ok);
    EXPECT_EQ(ask(), ok); // the other request is outstanding
    seen.inside = [&] { EXPECT_EQ(korvane_deinitialize(handle), ok); };
    deliver_answer();
    EXPECT_EQ(seen.answers, (std::vector<std::string>{row.seen}));
    EXPECT_EQ(kv::api::live_session, nullptr);
}

TEST_P(CloudAnswer, AllowsANewSessionInsideItsCallback)
{
    EXPECT_EQ(ask(), ok);
    auto old_proxy = platform.proxies().back();
    seen.inside = [&] {
        EXPECT_EQ(korvane_deinitialize(handle), ok);
        EXPECT_EQ(korvane_initialize(&handle, nullptr, nullptr), ok);
    };
    old_proxy->push_event(answer());
    EXPECT_EQ(seen.answers, (std::vector<std::string>{row.seen}));
    EXPECT_EQ(kv::api::live_session, handle);
}

TEST_P(CloudAnswer, IsForgottenBeforeItsFailureIsReported)
{
    const std::string dispose = "rpc_port_proxy_kv_master" + row.trampoline + "_dispose";
    arrives(reply(-13));
    EXPECT_EQ(row.ask(handle, true, &seen), KORVANE_ERROR_PERMISSION_DENIED);
    const LogLines lines = platform.log.lines();
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[lines.size() - 2].function, dispose);
    EXPECT_EQ(lines.back(), api_error(row.name, row.name + "() is failed, err=[-13] r=[0]"));
}

TEST_P(CloudAnswer, DoesNotLogATextThatMayBeSecret)
{
    if (row.delegate == 26)
        return; // a group id is no secret
    EXPECT_EQ(ask(), ok);
    platform.proxy().push_event(event(row.delegate, seq_id, true, i32(0), str("s3cret"), str("s3cret")));
    EXPECT_EQ(seen.answers.size(), 1U);
    for (const LogLine &line : platform.log.lines())
        EXPECT_EQ(line.message.find("s3cret"), std::string::npos) << line;
}

class CloudCertificate : public CloudTest {};

TEST_F(CloudCertificate, LogsTheArgumentsThatAreNull)
{
    connect_to("2.1.0");
    const auto refused = [&](const std::string &function, const std::string &start) {
        EXPECT_EQ(platform.log.api().back().function, function);
        EXPECT_EQ(platform.log.api().back().priority, 6);
        EXPECT_TRUE(platform.log.api().back().message.starts_with(start)) << platform.log.api().back();
    };
    EXPECT_EQ(korvane_create_hdr_certificate(handle, nullptr, "c", on_certificate, nullptr), bad_argument);
    refused("korvane_create_hdr_certificate", "Input param is NULL, device_type=[(nil)], csr=[0x");
    EXPECT_EQ(korvane_create_hdr_certificate(handle, "d", nullptr, nullptr, nullptr), bad_argument);
    refused("korvane_create_hdr_certificate", "Input param is NULL, device_type=[0x");
    EXPECT_EQ(korvane_get_hdr_certificate(handle, nullptr, nullptr, on_two_texts, nullptr), bad_argument);
    refused("korvane_get_hdr_certificate", "Input param is NULL, device_type=[(nil)], certificate_arn=[(nil)]");
    EXPECT_EQ(korvane_get_hdr_certificate(handle, "d", nullptr, on_two_texts, nullptr), bad_argument);
    agent_becomes("2.3.0");
    EXPECT_EQ(korvane_create_hdr_token_info_custom(handle, nullptr, nullptr, nullptr), bad_argument);
    refused("korvane_create_hdr_token_info_custom", "Input param is NULL, request_data_json_str=[(nil)]");
    EXPECT_TRUE(sent().empty());
}

TEST_F(CloudCertificate, CreateHdrTokenInfoCustomOnAgent22IsRefused)
{
    connect_to("2.2.0");
    EXPECT_EQ(korvane_create_hdr_token_info_custom(handle, "{}", on_token, nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_TRUE(sent().empty());
}

} // namespace
} // namespace kv::test
