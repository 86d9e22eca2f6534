// SPDX-License-Identifier: Apache-2.0
#include "cloud_fixture.hpp"

#include <functional>

namespace kv::test {
namespace {

/// Tokens that the callbacks receive, and their getters.
class CloudToken : public CloudTest {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        connect_to("2.1.0");
    }

    /// Runs `use` in the callback that receives the token of this text.
    void with_token(const std::string &text, const std::function<void(korvane_hdr_token_info_h)> &use)
    {
        arrives(reply(0));
        auto *data = const_cast<void *>(static_cast<const void *>(&use));
        EXPECT_EQ(korvane_create_hdr_token_info(handle, show, data), ok);
        const int seq_id = last_seq_id(platform.log);
        platform.log.clear();
        called = 0;
        fire(28, seq_id, true, i32(0), str(text));
        EXPECT_EQ(called, 1);
    }

    static void show(korvane_h, int, korvane_hdr_token_info_h token_info, void *use)
    {
        ++called;
        (*static_cast<std::function<void(korvane_hdr_token_info_h)> *>(use))(token_info);
    }

    static inline int called = 0;
};

struct TextGetter {
    const char *name;
    int (*get)(korvane_hdr_token_info_h, char **);
    const char *argument;
    const char *value;
};

const std::vector<TextGetter> token_texts = {
    {.name = "korvane_hdr_token_info_get_uuid",
     .get = korvane_hdr_token_info_get_uuid,
     .argument = "uuid",
     .value = "u"},
    {.name = "korvane_hdr_token_info_get_server_name",
     .get = korvane_hdr_token_info_get_server_name,
     .argument = "server_name",
     .value = "n"},
    {.name = "korvane_hdr_token_info_get_server_url",
     .get = korvane_hdr_token_info_get_server_url,
     .argument = "server_url",
     .value = "l"},
    {.name = "korvane_hdr_token_info_get_token",
     .get = korvane_hdr_token_info_get_token,
     .argument = "token",
     .value = "s3cret"},
};

const char *const whole_token =
    R"({"uuid":"u","server_name":"n","server_url":"l","expiration_time":99,"access_token":"s3cret","token":"other"})";

TEST_F(CloudToken, ReturnsCopiesOfItsMembers)
{
    with_token(whole_token, [&](korvane_hdr_token_info_h token) {
        for (const TextGetter &getter : token_texts) {
            char *text = nullptr;
            EXPECT_EQ(getter.get(token, &text), ok) << getter.name;
            EXPECT_STREQ(text, getter.value) << getter.name;
            EXPECT_EQ(lines_of(getter.name), (LogLines{api_info(getter.name, ">>> called")}));
            free(text);
        }
        int time = 0;
        EXPECT_EQ(korvane_hdr_token_info_get_expiration_time(token, &time), ok);
        EXPECT_EQ(time, 99);
    });
}

TEST_F(CloudToken, RefusesNullArguments)
{
    with_token(whole_token, [&](korvane_hdr_token_info_h token) {
        for (const TextGetter &getter : token_texts) {
            char *text = nullptr;
            EXPECT_EQ(getter.get(token, nullptr), bad_argument);
            EXPECT_EQ(getter.get(nullptr, &text), bad_argument);
            EXPECT_EQ(lines_of(getter.name),
                      (LogLines{api_info(getter.name, ">>> called"),
                                api_error(getter.name, std::string(getter.argument) + " is NULL"),
                                api_info(getter.name, ">>> called"), api_error(getter.name, "handle is NULL")}));
        }
        int time = 5;
        EXPECT_EQ(korvane_hdr_token_info_get_expiration_time(token, nullptr), bad_argument);
        EXPECT_EQ(platform.log.count("expiration_time is NULL"), 1U);
        EXPECT_EQ(korvane_hdr_token_info_get_expiration_time(nullptr, &time), bad_argument);
        EXPECT_EQ(time, 5);
    });
}

TEST_F(CloudToken, FailsIfGetTokenFindsOnlyTheMemberToken)
{
    with_token(R"({"token":"t"})", [&](korvane_hdr_token_info_h token) {
        char *text = nullptr;
        EXPECT_EQ(korvane_hdr_token_info_get_token(token, &text), KORVANE_ERROR_OPERATION_FAILED);
        EXPECT_EQ(text, nullptr);
        EXPECT_TRUE(platform.log.has(api_error("korvane_hdr_token_info_get_token", "cJSON_GetObjectItem() failed")));
    });
}

TEST_F(CloudToken, ReadsMembersOfOtherTypesAsNullOrAsAnInteger)
{
    with_token(R"({"uuid":5,"server_name":null,"server_url":{},"expiration_time":"9","access_token":["x"]})",
               [&](korvane_hdr_token_info_h token) {
                   for (const TextGetter &getter : token_texts) {
                       char before = 'x';
                       char *text = &before;
                       EXPECT_EQ(getter.get(token, &text), ok) << getter.name;
                       EXPECT_EQ(text, nullptr);
                   }
                   int time = 5;
                   EXPECT_EQ(korvane_hdr_token_info_get_expiration_time(token, &time), ok);
                   EXPECT_EQ(time, 0);
               });
}

TEST_F(CloudToken, ClampsAnExpirationBeyond32Bits)
{
    with_token(R"({"expiration_time":99999999999})", [&](korvane_hdr_token_info_h token) {
        int time = 0;
        EXPECT_EQ(korvane_hdr_token_info_get_expiration_time(token, &time), ok);
        EXPECT_EQ(time, 2147483647);
    });
}

TEST_F(CloudToken, IsNullIfTheTextIsNotJson)
{
    const std::string too_deep(100000, '[');
    const std::string too_long = "\"" + std::string(1 << 20, 'x');
    for (const std::string &text : {std::string(), std::string("no"), std::string("{"), too_deep, too_long})
        with_token(text, [&](korvane_hdr_token_info_h token) { EXPECT_EQ(token, nullptr); });
}

TEST_F(CloudToken, HasNoMembersIfTheJsonIsNotAnObject)
{
    for (const char *text : {"5", "[1,2]", "\"text\"", "null"})
        with_token(text, [&](korvane_hdr_token_info_h token) {
            char *uuid = nullptr;
            EXPECT_EQ(korvane_hdr_token_info_get_uuid(token, &uuid), failed) << text;
        });
}

TEST_F(CloudToken, ReturnsATextOfAMegabyte)
{
    const std::string value(1 << 20, 'x');
    with_token(R"({"access_token":")" + value + "\"}", [&](korvane_hdr_token_info_h token) {
        char *text = nullptr;
        EXPECT_EQ(korvane_hdr_token_info_get_token(token, &text), ok);
        EXPECT_EQ(value, text);
        free(text);
    });
}

TEST_F(CloudToken, ReturnsNothingWithoutMemory)
{
    with_token(whole_token, [&](korvane_hdr_token_info_h token) {
        for (const TextGetter &getter : token_texts) {
            char *text = nullptr;
            allocs::fail_nth(1);
            EXPECT_EQ(getter.get(token, &text), no_memory);
            allocs::stop_failing();
            EXPECT_TRUE(allocs::failed());
            EXPECT_EQ(text, nullptr);
        }
    });
}

TEST_F(CloudToken, NeedsAgent21)
{
    with_token(whole_token, [&](korvane_hdr_token_info_h token) {
        agent_becomes("2.0.9");
        char *text = nullptr;
        for (const TextGetter &getter : token_texts)
            EXPECT_EQ(getter.get(token, &text), too_old);
        int time = 0;
        EXPECT_EQ(korvane_hdr_token_info_get_expiration_time(token, &time), too_old);
        agent_vanishes();
        EXPECT_EQ(korvane_hdr_token_info_get_expiration_time(token, &time), absent);
        agent_returns("2.1.0");
    });
}

} // namespace
} // namespace kv::test
