// SPDX-License-Identifier: Apache-2.0
#include "cloud_fixture.hpp"

namespace kv::test {
namespace {

class CustomPush : public CloudTest {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        connect_to("2.0.0");
    }
};

TEST_F(CustomPush, FailsUnsentIfTheTextIsNotJson)
{
    for (const std::string &text :
         {std::string(), std::string("hello"), std::string("{\"a\":"), std::string(5000, '[')}) {
        platform.log.clear();
        EXPECT_EQ(korvane_send_custom_push_msg(handle, text.c_str()), bad_argument) << text.substr(0, 10);
        EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_send_custom_push_msg", "cJSON_Parse() failed")}));
    }
    EXPECT_TRUE(sent().empty());
}

TEST_F(CustomPush, SendsJsonThatIsNotAnObjectUnchanged)
{
    for (const char *text : {"5", "[1,\"a\"]", "\"a\"", "null", "true"}) {
        arrives(reply(0, str("")));
        EXPECT_EQ(korvane_send_custom_push_msg(handle, text), ok);
        EXPECT_EQ(only_request(),
                  bytes(i32(102), str(std::string(R"({"common_interface":2,"custom_push_msg":)") + text + "}")));
    }
}

TEST_F(CustomPush, SendsAMegabyte)
{
    const std::string text = "\"" + std::string(1 << 20, 'x') + "\"";
    arrives(reply(0, str("")));
    EXPECT_EQ(korvane_send_custom_push_msg(handle, text.c_str()), ok);
    EXPECT_EQ(only_request(), bytes(i32(102), str(R"({"common_interface":2,"custom_push_msg":)" + text + "}")));
}

TEST_F(CustomPush, RefusesNullBeforeTheCheckOfTheUpdateAndParsesAfterIt)
{
    install_starts();
    platform.log.clear();
    EXPECT_EQ(korvane_send_custom_push_msg(handle, nullptr), bad_argument);
    EXPECT_EQ(korvane_send_custom_push_msg(handle, "no"), installing);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_send_custom_push_msg", "push_msg_json_str is NULL"),
                        api_error("korvane_send_custom_push_msg", "Agent is being installing")}));
}

TEST_F(CustomPush, LogsNeitherTextNorReply)
{
    arrives(reply(0, str("s3cret")));
    EXPECT_EQ(korvane_send_custom_push_msg(handle, "\"s3cret\""), ok);
    for (const LogLine &line : platform.log.lines())
        EXPECT_EQ(line.message.find("s3cret"), std::string::npos) << line;
}

class Terms : public CloudTest {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        connect_to("1.4.0");
    }
};

TEST_F(Terms, AreSentWithVersionAndHeader)
{
    korvane_tnc_info_h terms = nullptr;
    ASSERT_EQ(korvane_tnc_info_create(&terms), ok);
    EXPECT_EQ(korvane_tncinfo_set_version(terms, "1"), ok);
    EXPECT_EQ(korvane_tncinfo_set_header(terms, "Terms"), ok);
    EXPECT_EQ(korvane_tncinfo_set_version(terms, "2"), ok);
    arrives(reply(0));
    EXPECT_EQ(korvane_set_tnc_info(handle, terms), ok);
    EXPECT_EQ(only_request(), bytes(i32(63), str(R"({"tnc_header":"Terms","tnc_version":"2"})")));
    EXPECT_EQ(korvane_tnc_info_destroy(terms), ok);
}

TEST_F(Terms, FailWithoutTheirObject)
{
    void *no_object = nullptr; // the whole content of the handle
    auto *damaged = reinterpret_cast<korvane_tnc_info_h>(&no_object);
    EXPECT_EQ(korvane_tncinfo_set_version(damaged, "1"), failed);
    EXPECT_EQ(korvane_tncinfo_set_header(damaged, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_tnc_info(handle, damaged), failed);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_tncinfo_set_version", "tnc_json is NULL"),
                                               api_error("korvane_tncinfo_set_header", "header is NULL"),
                                               api_error("korvane_set_tnc_info", "tnc_json is NULL")}));
    EXPECT_TRUE(sent().empty());
}

TEST_F(Terms, AreRefusedBeforeTheCheckOfTheUpdateIfNull)
{
    install_starts();
    platform.log.clear();
    EXPECT_EQ(korvane_set_tnc_info(handle, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_tnc_url(handle, nullptr), bad_argument);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_set_tnc_info", "tnc_info_h is NULL"),
                                               api_error("korvane_set_tnc_url", "url is NULL")}));
}

} // namespace
} // namespace kv::test
