// SPDX-License-Identifier: Apache-2.0
#include "cloud_fixture.hpp"

#include <utility>

namespace kv::test {
namespace {

/// A type of object that the application fills, with its functions and its request.
struct Kind {
    int minimum_version;
    std::string newest; // an agent that supports every field
    int (*create)(void **object);
    int (*destroy)(void *object);
    int (*send)(korvane_h handle, void *object);
    Bytes (*request)(const std::string &json);
};

template <class Handle, int (*Create)(Handle *)>
int create(void **object)
{
    auto handle = static_cast<Handle>(*object);
    const int result = Create(&handle);
    *object = handle;
    return result;
}

template <class Handle, int (*Destroy)(Handle)>
int destroy(void *object)
{
    return Destroy(static_cast<Handle>(object));
}

template <class Handle, int (*Send)(korvane_h, Handle)>
int send(korvane_h handle, void *object)
{
    return Send(handle, static_cast<Handle>(object));
}

template <class Handle, int (*Set)(Handle, const char *)>
int set(void *object, const char *text)
{
    return Set(static_cast<Handle>(object), text);
}

using Cloud = korvane_cloud_info_h;
using Platform = korvane_platform_info_h;
using Profile = korvane_device_profile_info_h;
using Terms = korvane_tnc_info_h;

const Kind cloud = {.minimum_version = 0,
                    .newest = "2.3.1",
                    .create = create<Cloud, korvane_cloudinfo_create>,
                    .destroy = destroy<Cloud, korvane_cloudinfo_destroy>,
                    .send = send<Cloud, korvane_sign_up_cloud>,
                    .request = [](const std::string &json) {
                        const std::string members = json.substr(0, json.size() - 1);
                        return bytes(i32(102), str(members + R"(,"common_interface":3})"));
                    }};
const Kind platform_data = {.minimum_version = 1001,
                            .newest = "2.3.1",
                            .create = create<Platform, korvane_platforminfo_create>,
                            .destroy = destroy<Platform, korvane_platforminfo_destroy>,
                            .send = send<Platform, korvane_set_platform_info>,
                            .request = [](const std::string &json) { return bytes(i32(46), i32(0), str(json)); }};
const Kind profile = {.minimum_version = 1003,
                      .newest = "2.3.1",
                      .create = create<Profile, korvane_device_profile_info_create>,
                      .destroy = destroy<Profile, korvane_device_profile_info_destroy>,
                      .send = send<Profile, korvane_set_device_profile_info>,
                      .request = [](const std::string &json) { return bytes(i32(70), i32(0), str(json)); }};
const Kind terms = {.minimum_version = 1003,
                    .newest = "2.3.1",
                    .create = create<Terms, korvane_tnc_info_create>,
                    .destroy = destroy<Terms, korvane_tnc_info_destroy>,
                    .send = send<Terms, korvane_set_tnc_info>,
                    .request = [](const std::string &json) { return bytes(i32(63), str(json)); }};

struct Setter {
    std::string name;
    const Kind *kind;
    int minimum_version;
    int (*set)(void *object, const char *text);
    std::string null_text;
    std::string key;
    bool logs_its_value = false;
};

std::ostream &operator<<(std::ostream &out, const Setter &setter)
{
    return out << setter.name;
}

const std::vector<Setter> setters = {
    {.name = "korvane_cloudinfo_set_region",
     .kind = &cloud,
     .minimum_version = 0,
     .set = set<Cloud, korvane_cloudinfo_set_region>,
     .null_text = "region is NULL",
     .key = "region"},
    {.name = "korvane_cloudinfo_set_auth_provider",
     .kind = &cloud,
     .minimum_version = 0,
     .set = set<Cloud, korvane_cloudinfo_set_auth_provider>,
     .null_text = "auth_provider is NULL",
     .key = "auth_provider"},
    {.name = "korvane_cloudinfo_set_access_token",
     .kind = &cloud,
     .minimum_version = 0,
     .set = set<Cloud, korvane_cloudinfo_set_access_token>,
     .null_text = "access_token is NULL",
     .key = "access_token"},
    {.name = "korvane_cloudinfo_set_refresh_token",
     .kind = &cloud,
     .minimum_version = 0,
     .set = set<Cloud, korvane_cloudinfo_set_refresh_token>,
     .null_text = "refresh_token is NULL",
     .key = "refresh_token"},
    {.name = "korvane_cloudinfo_set_user_id",
     .kind = &cloud,
     .minimum_version = 0,
     .set = set<Cloud, korvane_cloudinfo_set_user_id>,
     .null_text = "user_id is NULL",
     .key = "user_id"},
    {.name = "korvane_cloudinfo_set_client_id",
     .kind = &cloud,
     .minimum_version = 0,
     .set = set<Cloud, korvane_cloudinfo_set_client_id>,
     .null_text = "client_id is NULL",
     .key = "client_id"},
    {.name = "korvane_cloudinfo_set_cloud_interface_server",
     .kind = &cloud,
     .minimum_version = 2000,
     .set = set<Cloud, korvane_cloudinfo_set_cloud_interface_server>,
     .null_text = "ci_server is NULL",
     .key = "ci_server"},
    {.name = "korvane_cloudinfo_set_deploy_environment",
     .kind = &cloud,
     .minimum_version = 2000,
     .set = set<Cloud, korvane_cloudinfo_set_deploy_environment>,
     .null_text = "deploy_env is NULL",
     .key = "deploy_env"},

    {.name = "korvane_platforminfo_set_model_number",
     .kind = &platform_data,
     .minimum_version = 1001,
     .set = set<Platform, korvane_platforminfo_set_model_number>,
     .null_text = "model_number is NULL",
     .key = "model_number"},
    {.name = "korvane_platforminfo_set_platform_version",
     .kind = &platform_data,
     .minimum_version = 1001,
     .set = set<Platform, korvane_platforminfo_set_platform_version>,
     .null_text = "platform_version is NULL",
     .key = "p_ver"},
    {.name = "korvane_platforminfo_set_vendor_id",
     .kind = &platform_data,
     .minimum_version = 1002,
     .set = set<Platform, korvane_platforminfo_set_vendor_id>,
     .null_text = "vid is NULL",
     .key = "vid"},
    {.name = "korvane_platforminfo_set_manufacture_date",
     .kind = &platform_data,
     .minimum_version = 1004,
     .set = set<Platform, korvane_platforminfo_set_manufacture_date>,
     .null_text = "mf_date is NULL",
     .key = "mf_date"},
    {.name = "korvane_platforminfo_set_firmware_version",
     .kind = &platform_data,
     .minimum_version = 1004,
     .set = set<Platform, korvane_platforminfo_set_firmware_version>,
     .null_text = "firmware_version is NULL",
     .key = "f_ver"},

    {.name = "korvane_device_profile_info_set_nick",
     .kind = &profile,
     .minimum_version = 1003,
     .set = set<Profile, korvane_device_profile_info_set_nick>,
     .null_text = "nick is NULL",
     .key = "nick",
     .logs_its_value = true},
    {.name = "korvane_device_profile_info_set_locale",
     .kind = &profile,
     .minimum_version = 1003,
     .set = set<Profile, korvane_device_profile_info_set_locale>,
     .null_text = "locale is NULL",
     .key = "locale"},
    {.name = "korvane_device_profile_info_set_push_reg_id",
     .kind = &profile,
     .minimum_version = 1003,
     .set = set<Profile, korvane_device_profile_info_set_push_reg_id>,
     .null_text = "push_reg_id is NULL",
     .key = "pushregid"},
    {.name = "korvane_device_profile_info_set_push_app_id",
     .kind = &profile,
     .minimum_version = 1003,
     .set = set<Profile, korvane_device_profile_info_set_push_app_id>,
     .null_text = "push_app_id is NULL",
     .key = "pushappid"},
    {.name = "korvane_device_profile_info_set_push_provider",
     .kind = &profile,
     .minimum_version = 1003,
     .set = set<Profile, korvane_device_profile_info_set_push_provider>,
     .null_text = "push_provider is NULL",
     .key = "pushprovider"},
    {.name = "korvane_device_profile_info_set_serial_number",
     .kind = &profile,
     .minimum_version = 2000,
     .set = set<Profile, korvane_device_profile_info_set_serial_number>,
     .null_text = "serial_number is NULL",
     .key = "sn"},

    {.name = "korvane_tncinfo_set_version",
     .kind = &terms,
     .minimum_version = 1003,
     .set = set<Terms, korvane_tncinfo_set_version>,
     .null_text = "version is NULL",
     .key = "tnc_version",
     .logs_its_value = true},
    {.name = "korvane_tncinfo_set_header",
     .kind = &terms,
     .minimum_version = 1003,
     .set = set<Terms, korvane_tncinfo_set_header>,
     .null_text = "header is NULL",
     .key = "tnc_header"},
};

/// A setter of one text of an object that is sent as JSON.
class TextSetter : public CloudTest, public ::testing::WithParamInterface<Setter> {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        prepare();
    }

    void prepare()
    {
        connect_to(row.kind->newest);
        ASSERT_EQ(row.kind->create(&object), ok);
        clear_records();
    }

    void end_run() override
    {
        allocs::stop_failing();
        if (void *made = std::exchange(object, nullptr)) {
            agent_returns(row.kind->newest);
            EXPECT_EQ(row.kind->destroy(made), ok);
        }
        CloudTest::end_run();
    }

    LogLine entry() { return api_info(row.name, ">>> called"); }
    LogLine refusal(const std::string &reason) { return api_error(row.name, reason); }

    LogLines lines_of_set(const char *text, int code)
    {
        platform.log.clear();
        EXPECT_EQ(row.set(object, text), code);
        return lines_of(row.name);
    }

    std::string member(const std::string &value) { return "\"" + row.key + "\":\"" + value + "\""; }

    void expect_sent(const std::string &json)
    {
        arrives(row.kind == &cloud ? bytes(i32(0), str(""), i32(0)) : reply(0));
        EXPECT_EQ(row.kind->send(handle, object), ok);
        EXPECT_EQ(only_request(), row.kind->request(json));
    }

    const Setter &row = GetParam();
    void *object = nullptr;
};

std::string name_of(const ::testing::TestParamInfo<Setter> &setter)
{
    return setter.param.name;
}

INSTANTIATE_TEST_SUITE_P(Of, TextSetter, ::testing::ValuesIn(setters), name_of);

TEST_P(TextSetter, StoresTheTextUnderItsKey)
{
    LogLines expected = {entry()};
    if (row.logs_its_value)
        expected.push_back(api_info(row.name, (row.key == "nick" ? "nick [" : "version [") + std::string("a \"b\"]")));
    EXPECT_EQ(lines_of_set("a \"b\"", ok), expected);
    EXPECT_EQ(platform.log.lines(), expected) << "no other line may contain the value";
    expect_sent("{" + member("a \\\"b\\\"") + "}");
}

TEST_P(TextSetter, ReplacesTheTextOfAnEarlierCall)
{
    EXPECT_EQ(row.set(object, "old"), ok);
    EXPECT_EQ(row.set(object, "new"), ok);
    expect_sent("{" + member("new") + "}");
}

TEST_P(TextSetter, CopiesTheText)
{
    std::string text = "before";
    EXPECT_EQ(row.set(object, text.c_str()), ok);
    text = "after!";
    expect_sent("{" + member("before") + "}");
}

TEST_P(TextSetter, RefusesANullObjectAndANullText)
{
    EXPECT_EQ(lines_of_set(nullptr, bad_argument), (LogLines{entry(), refusal(row.null_text)}));
    void *kept = std::exchange(object, nullptr);
    EXPECT_EQ(lines_of_set("text", bad_argument), (LogLines{entry(), refusal("handle is NULL")}));
    EXPECT_EQ(lines_of_set(nullptr, bad_argument), (LogLines{entry(), refusal("handle is NULL")}));
    object = kept;
}

TEST_P(TextSetter, IsRefusedWithoutAnAgentAndForOlderAgents)
{
    if (row.minimum_version > 0) {
        agent_becomes("1.0.9");
        EXPECT_EQ(lines_of_set(nullptr, too_old), (LogLines{entry(), refusal("agent version is lower!!")}));
        const int below = row.minimum_version - 1;
        agent_becomes(below < 2000 && below > 1006 ? "1.6" : "1." + std::to_string(below % 1000));
        EXPECT_EQ(lines_of_set("text", too_old), (LogLines{entry(), refusal("agent version is lower!!")}));
        agent_becomes("");
        EXPECT_EQ(lines_of_set("text", too_old), (LogLines{entry(), refusal("agent version is lower!!")}));
    }
    agent_vanishes();
    EXPECT_EQ(lines_of_set(nullptr, absent), (LogLines{entry(), refusal("Not Supported")}));
}

TEST_P(TextSetter, WorksDuringInstallation)
{
    install_starts();
    EXPECT_EQ(row.set(object, "text"), ok);
    update_completes();
    expect_sent("{" + member("text") + "}");
}

TEST_P(TextSetter, KeepsTheOldTextWithoutMemory)
{
    unsigned runs = 0;
    fail_each_allocation(
        [&] {
            prepare();
            EXPECT_EQ(row.set(object, "old"), ok);
        },
        [&] { return row.set(object, "new"); },
        [&](int before, int result) {
            ++runs;
            EXPECT_EQ(result, before < 0 ? ok : no_memory);
            if (before >= 0) {
                EXPECT_TRUE(platform.log.has(refusal("Memory allocation is failed")));
            }
            platform.main_port().sent.clear();
            expect_sent("{" + member(before < 0 ? "new" : "old") + "}");
        });
    EXPECT_EQ(runs, 3U); // one failure each of the member and its text, and one success
}

/// The functions that create and destroy a type of object.
struct Lifetime {
    std::string create_name;
    std::string destroy_name;
    const Kind *kind;
    int allocations;
};

const std::vector<Lifetime> lifetimes = {
    {.create_name = "korvane_cloudinfo_create",
     .destroy_name = "korvane_cloudinfo_destroy",
     .kind = &cloud,
     .allocations = 2},
    {.create_name = "korvane_platforminfo_create",
     .destroy_name = "korvane_platforminfo_destroy",
     .kind = &platform_data,
     .allocations = 2},
    {.create_name = "korvane_device_profile_info_create",
     .destroy_name = "korvane_device_profile_info_destroy",
     .kind = &profile,
     .allocations = 2},
    {.create_name = "korvane_tnc_info_create",
     .destroy_name = "korvane_tnc_info_destroy",
     .kind = &terms,
     .allocations = 2},
};

std::ostream &operator<<(std::ostream &out, const Lifetime &lifetime)
{
    return out << lifetime.create_name;
}

class ObjectLifetime : public CloudTest, public ::testing::WithParamInterface<Lifetime> {
protected:
    const Lifetime &row = GetParam();
};

std::string lifetime_name(const ::testing::TestParamInfo<Lifetime> &lifetime)
{
    return lifetime.param.create_name;
}

INSTANTIATE_TEST_SUITE_P(Of, ObjectLifetime, ::testing::ValuesIn(lifetimes), lifetime_name);

TEST_P(ObjectLifetime, NeedsNoLibraryHandleAndNoConnection)
{
    void *object = nullptr;
    EXPECT_EQ(row.kind->create(&object), ok);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(lines_of(row.create_name), (LogLines{api_info(row.create_name, ">>> called")}));
    EXPECT_EQ(row.kind->destroy(object), ok);
    EXPECT_EQ(lines_of(row.destroy_name), (LogLines{api_info(row.destroy_name, ">>> called")}));
}

TEST_P(ObjectLifetime, RefusesANullObject)
{
    EXPECT_EQ(row.kind->destroy(nullptr), bad_argument);
    EXPECT_EQ(lines_of(row.destroy_name),
              (LogLines{api_info(row.destroy_name, ">>> called"), api_error(row.destroy_name, "handle is NULL")}));
}

TEST_P(ObjectLifetime, IsRefusedWithoutTheAgent)
{
    agent_vanishes();
    void *object = nullptr;
    EXPECT_EQ(row.kind->create(&object), absent);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(row.kind->destroy(&object), absent);
}

TEST_P(ObjectLifetime, IsRefusedForOlderAgents)
{
    if (row.kind->minimum_version == 0)
        return; // every agent is accepted
    agent_becomes("1." + std::to_string(row.kind->minimum_version % 1000 - 1));
    void *object = nullptr;
    EXPECT_EQ(row.kind->create(&object), too_old);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(row.kind->destroy(&object), too_old);
    agent_becomes("");
    EXPECT_EQ(row.kind->create(&object), too_old);
}

TEST_P(ObjectLifetime, ReturnsNothingWithoutMemory)
{
    int runs = 0;
    void *object = nullptr;
    fail_each_allocation(
        [&] {
            agent_returns("2.3.1");
            ASSERT_EQ(korvane_cloudinfo_destroy(nullptr), bad_argument); // makes the library read the version
        },
        [&] { return row.kind->create(&object); },
        [&](int before, int result) {
            ++runs;
            EXPECT_EQ(result, before < 0 ? ok : no_memory);
            EXPECT_EQ(object != nullptr, result == ok);
            if (before == 0) {
                EXPECT_TRUE(platform.log.has(api_error(row.create_name, "cJSON_CreateObject() failed")));
            }
            if (object) {
                EXPECT_EQ(row.kind->destroy(std::exchange(object, nullptr)), ok);
            }
        });
    EXPECT_EQ(runs, row.allocations + 1);
}

using CloudObjectsTest = CloudTest;

TEST_F(CloudObjectsTest, AreNotCreatedIntoANullPointer)
{
    EXPECT_EQ(korvane_cloudinfo_create(nullptr), bad_argument);
    EXPECT_EQ(korvane_platforminfo_create(nullptr), bad_argument);
    EXPECT_EQ(korvane_device_profile_info_create(nullptr), bad_argument);
    EXPECT_EQ(korvane_tnc_info_create(nullptr), bad_argument);
    EXPECT_EQ(korvane_laststatusinfo_create(nullptr), bad_argument);
    EXPECT_EQ(platform.log.count("handle is NULL"), 5U);
}

} // namespace
} // namespace kv::test
