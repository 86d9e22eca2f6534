// SPDX-License-Identifier: Apache-2.0
#include "cloud_fixture.hpp"

#include <utility>

namespace kv::test {
namespace {

class PlatformInfo : public CloudTest {
protected:
    void make_for(const std::string &version)
    {
        connect_to(version);
        EXPECT_EQ(korvane_platforminfo_create(&info), ok);
        clear_records();
    }

    void end_run() override
    {
        allocs::stop_failing();
        if (korvane_platform_info_h made = std::exchange(info, nullptr)) {
            EXPECT_EQ(korvane_platforminfo_destroy(made), ok); // in every form and with every agent
        }
        CloudTest::end_run();
    }

    korvane_platform_info_h info = nullptr;
};

TEST_F(PlatformInfo, IsSentAsARecordToAgent11)
{
    make_for("1.1.0");
    EXPECT_EQ(korvane_platforminfo_set_model_number(info, "old"), ok);
    EXPECT_EQ(korvane_platforminfo_set_model_number(info, "WM-7"), ok);
    EXPECT_EQ(korvane_platforminfo_set_platform_version(info, "4.1"), ok);
    arrives(reply(0));
    EXPECT_EQ(korvane_set_platform_info(handle, info), ok);
    EXPECT_EQ(only_request(), bytes(i32(37), str("WM-7"), str("4.1")));
}

TEST_F(PlatformInfo, IsSentAsJsonToAgent12AndLater)
{
    make_for("1.2.0");
    EXPECT_EQ(korvane_platforminfo_set_model_number(info, "WM-7"), ok);
    EXPECT_EQ(korvane_platforminfo_set_platform_version(info, "4.1"), ok);
    EXPECT_EQ(korvane_platforminfo_set_vendor_id(info, "v"), ok);
    EXPECT_EQ(korvane_platforminfo_set_manufacture_date(info, "d"), too_old);
    EXPECT_EQ(korvane_platforminfo_set_firmware_version(info, "f"), too_old);
    agent_becomes("1.4.0");
    EXPECT_EQ(korvane_platforminfo_set_manufacture_date(info, "d"), ok);
    EXPECT_EQ(korvane_platforminfo_set_firmware_version(info, "f"), ok);
    arrives(reply(0));
    EXPECT_EQ(korvane_set_platform_info(handle, info), ok);
    const char *json = R"({"model_number":"WM-7","p_ver":"4.1","vid":"v","mf_date":"d","f_ver":"f"})";
    EXPECT_EQ(only_request(), bytes(i32(46), i32(0), str(json)));
    arrives(reply(0));
    EXPECT_EQ(korvane_set_platform_info_with_device_no(handle, info, 2147483647), ok);
    EXPECT_EQ(only_request(), bytes(i32(46), i32(2147483647), str(json)));
}

TEST_F(PlatformInfo, RefusesSetVendorIdForAgent11)
{
    make_for("1.1.0");
    EXPECT_EQ(korvane_platforminfo_set_vendor_id(info, "v"), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(korvane_set_platform_info_with_device_no(handle, info, 0), KORVANE_ERROR_AGENT_VERSION_LOWER);
}

TEST_F(PlatformInfo, AsARecordIsRefusedForANewerAgentBeforeTheCheckOfTheUpdate)
{
    make_for("1.1.0");
    EXPECT_EQ(korvane_platforminfo_set_model_number(info, "WM-7"), ok);
    install_starts();
    agent_becomes("1.4.0");
    platform.log.clear();
    EXPECT_EQ(korvane_platforminfo_set_model_number(info, "x"), bad_argument);
    EXPECT_EQ(korvane_platforminfo_set_platform_version(info, "x"), bad_argument);
    EXPECT_EQ(korvane_platforminfo_set_vendor_id(info, "x"), bad_argument);
    EXPECT_EQ(korvane_platforminfo_set_manufacture_date(info, "x"), bad_argument);
    EXPECT_EQ(korvane_platforminfo_set_firmware_version(info, "x"), bad_argument);
    EXPECT_EQ(korvane_set_platform_info(handle, info), bad_argument);
    EXPECT_EQ(korvane_set_platform_info_with_device_no(handle, info, 0), bad_argument);
    EXPECT_EQ(platform.log.count("handle was made for another agent version, in [record] form"), 7U);
    EXPECT_TRUE(sent().empty());
    update_completes();
    agent_becomes("1.1.0");
    arrives(reply(0));
    EXPECT_EQ(korvane_set_platform_info(handle, info), ok);
    EXPECT_EQ(only_request(), bytes(i32(37), str("WM-7"), str("")));
}

TEST_F(PlatformInfo, AsJsonIsRefusedForAgent11)
{
    make_for("1.2.0");
    agent_becomes("1.1.0");
    EXPECT_EQ(korvane_platforminfo_set_model_number(info, "x"), bad_argument);
    EXPECT_EQ(korvane_platforminfo_set_platform_version(info, "x"), bad_argument);
    EXPECT_EQ(korvane_set_platform_info(handle, info), bad_argument);
    EXPECT_EQ(platform.log.count("handle was made for another agent version, in [JSON] form"), 3U);
    EXPECT_TRUE(sent().empty());
}

TEST_F(PlatformInfo, AsARecordLogsAMemberWithoutMemoryAndSucceeds)
{
    make_for("1.1.0");
    allocs::fail_nth(1);
    EXPECT_EQ(korvane_platforminfo_set_model_number(info, "x"), ok);
    EXPECT_TRUE(allocs::failed());
    EXPECT_EQ(platform.log.count("Failed to duplicate data"), 1U);
}

TEST_F(PlatformInfo, AsARecordIsNotCreatedWithoutMemory)
{
    fail_each_allocation(
        [&] {
            connect_to("1.1.0");
            ASSERT_EQ(korvane_platforminfo_destroy(nullptr), bad_argument); // makes the library read the version
        },
        [&] { return korvane_platforminfo_create(&info); },
        [&](int before, int result) {
            EXPECT_EQ(result, before < 0 ? ok : no_memory);
            EXPECT_EQ(info != nullptr, before < 0);
            EXPECT_EQ(platform.log.count("rpc_port_korvane_platform_info_create() failed"), before == 0 ? 1U : 0U);
        });
}

TEST_F(PlatformInfo, IsLeftAloneByACreationWithoutMemory)
{
    for (const char *version : {"1.1.0", "1.4.0"}) {
        connect_to(version);
        ASSERT_EQ(korvane_platforminfo_destroy(nullptr), bad_argument); // makes the library read the version
        auto *const untouched = reinterpret_cast<korvane_platform_info_h>(&platform);
        auto *out = untouched;
        allocs::fail_nth(1);
        EXPECT_EQ(korvane_platforminfo_create(&out), no_memory);
        allocs::stop_failing();
        EXPECT_EQ(out, untouched);
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(PlatformInfo, ChecksArgumentsInTheirOrder)
{
    make_for("1.4.0");
    install_starts();
    platform.log.clear();
    EXPECT_EQ(korvane_set_platform_info(handle, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_platform_info_with_device_no(handle, nullptr, -1), bad_argument);
    EXPECT_EQ(korvane_set_platform_info_with_device_no(handle, info, -1), bad_argument);
    const std::string with_number = "korvane_set_platform_info_with_device_no";
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_set_platform_info", "platform_info_h is NULL"),
                                               api_error(with_number, "platform_info_h is NULL"),
                                               api_error(with_number, "Invalid device_no : [-1]")}));
}

class LastStatus : public CloudTest {};

TEST_F(LastStatus, IsSentAsARecordToEveryAgent)
{
    for (const char *version : {"1.1.0", "2.3.0"}) {
        korvane_last_status_info_h info = nullptr;
        agent_becomes(version);
        ASSERT_EQ(korvane_laststatusinfo_create(&info), ok);
        connect_to(version);
        arrives(reply(0));
        EXPECT_EQ(korvane_set_last_status_info(handle, info), ok);
        EXPECT_EQ(only_request(), bytes(i32(40), i32(0), str("")));
        EXPECT_EQ(korvane_laststatusinfo_set_timestamp(info, -2147483647 - 1), ok);
        EXPECT_EQ(korvane_laststatusinfo_set_error_code(info, "old"), ok);
        EXPECT_EQ(korvane_laststatusinfo_set_error_code(info, "new"), ok);
        arrives(reply(0));
        EXPECT_EQ(korvane_set_last_status_info(handle, info), ok);
        EXPECT_EQ(only_request(), bytes(i32(40), i32(-2147483647 - 1), str("new")));
        EXPECT_EQ(korvane_laststatusinfo_destroy(info), ok);
        EXPECT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(LastStatus, RefusesNullArgumentsAndOldAgents)
{
    connect_to("1.1.0");
    korvane_last_status_info_h info = nullptr;
    ASSERT_EQ(korvane_laststatusinfo_create(&info), ok);
    EXPECT_EQ(korvane_laststatusinfo_destroy(nullptr), bad_argument);
    EXPECT_EQ(korvane_laststatusinfo_set_timestamp(nullptr, 1), bad_argument);
    EXPECT_EQ(korvane_laststatusinfo_set_error_code(nullptr, "x"), bad_argument);
    EXPECT_EQ(platform.log.count("handle is NULL"), 3U);
    platform.log.clear();
    EXPECT_EQ(korvane_laststatusinfo_set_error_code(info, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_last_status_info(handle, nullptr), bad_argument);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_laststatusinfo_set_error_code", "error_code is NULL"),
                        api_error("korvane_set_last_status_info", "last_status_info_h is NULL")}));
    agent_becomes("1.0.9");
    korvane_last_status_info_h other = nullptr;
    EXPECT_EQ(korvane_laststatusinfo_create(&other), too_old);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(korvane_laststatusinfo_set_timestamp(info, 1), too_old);
    EXPECT_EQ(korvane_laststatusinfo_set_error_code(info, "x"), too_old);
    EXPECT_EQ(korvane_laststatusinfo_destroy(info), too_old);
    agent_vanishes();
    EXPECT_EQ(korvane_laststatusinfo_create(&other), absent);
    EXPECT_EQ(korvane_laststatusinfo_destroy(info), absent);
    agent_returns("1.1.0");
    EXPECT_EQ(korvane_laststatusinfo_destroy(info), ok);
}

TEST_F(LastStatus, IsNotCreatedWithoutMemoryAndLogsATextWithoutMemory)
{
    korvane_last_status_info_h info = nullptr;
    ASSERT_EQ(korvane_laststatusinfo_destroy(nullptr), bad_argument); // makes the library read the version
    allocs::fail_nth(1);
    EXPECT_EQ(korvane_laststatusinfo_create(&info), no_memory);
    EXPECT_EQ(info, nullptr);
    EXPECT_EQ(platform.log.count("rpc_port_korvane_last_status_info_create() failed"), 1U);
    EXPECT_EQ(korvane_laststatusinfo_create(&info), ok);
    allocs::fail_nth(1);
    EXPECT_EQ(korvane_laststatusinfo_set_error_code(info, "x"), ok);
    EXPECT_EQ(platform.log.count("Failed to duplicate data"), 1U);
    EXPECT_EQ(korvane_laststatusinfo_destroy(info), ok);
}

class DeviceIdentity : public CloudTest {
protected:
    void SetUp() override
    {
        CloudTest::SetUp();
        connect_to("2.3.0");
    }
};

TEST_F(DeviceIdentity, RefusesDeviceNumberMinus1BeforeTheCheckOfTheUpdate)
{
    install_starts();
    platform.log.clear();
    EXPECT_EQ(korvane_set_nick_name(handle, -1, "n"), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_set_device_name_with_device_no(handle, "n", -1), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_set_device_type_with_device_no(handle, -1, "t"), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_set_nick_name", "Invalid device no [-1]"),
                        api_error("korvane_set_device_name_with_device_no", "Invalid device_no : [-1]"),
                        api_error("korvane_set_device_type_with_device_no", "Invalid device_no : [-1]")}));
}

TEST_F(DeviceIdentity, AcceptsDeviceNumber0InEveryFunction)
{
    arrives(reply(0));
    EXPECT_EQ(korvane_set_nick_name(handle, 0, ""), ok);
    EXPECT_EQ(only_request(), bytes(i32(47), i32(0), str("")));
    arrives(reply(0));
    EXPECT_EQ(korvane_set_device_name_with_device_no(handle, "n", 0), ok);
    EXPECT_EQ(only_request(), bytes(i32(82), i32(0), str("n")));
    arrives(reply(0, str("")));
    EXPECT_EQ(korvane_set_device_type_with_device_no(handle, 0, "t"), ok);
    EXPECT_EQ(only_request(), bytes(i32(102), str(R"({"common_interface":1,"device_no":0,"device_type":"t"})")));
    korvane_platform_info_h info = nullptr;
    ASSERT_EQ(korvane_platforminfo_create(&info), ok);
    arrives(reply(0));
    EXPECT_EQ(korvane_set_platform_info_with_device_no(handle, info, 0), ok);
    EXPECT_EQ(only_request(), bytes(i32(46), i32(0), str("{}")));
    EXPECT_EQ(korvane_platforminfo_destroy(info), ok);
}

TEST_F(DeviceIdentity, ChecksArgumentsInTheirOrder)
{
    EXPECT_EQ(korvane_set_nick_name(handle, -1, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_device_name_with_device_no(handle, nullptr, -1), bad_argument);
    EXPECT_EQ(korvane_set_device_name_with_device_no(handle, nullptr, 1), bad_argument);
    EXPECT_EQ(korvane_set_device_type_with_device_no(handle, -1, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_device_type_with_device_no(handle, 1, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_device_name(handle, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_regist_set_device(handle, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_device_profile_info(handle, nullptr), bad_argument);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_set_nick_name", "nick is NULL"),
                        api_error("korvane_set_device_name_with_device_no", "Invalid device_no : [-1]"),
                        api_error("korvane_set_device_name_with_device_no", "device name is NULL"),
                        api_error("korvane_set_device_type_with_device_no", "Invalid device_no : [-1]"),
                        api_error("korvane_set_device_type_with_device_no", "device type is NULL"),
                        api_error("korvane_set_device_name", "device name is NULL"),
                        api_error("korvane_set_regist_set_device", "rsd is NULL"),
                        api_error("korvane_set_device_profile_info", "dev_profile_h is NULL")}));
    EXPECT_TRUE(sent().empty());
}

TEST_F(DeviceIdentity, RefusesSetDeviceTypeForAgent14)
{
    agent_becomes("1.4.0");
    EXPECT_EQ(korvane_set_device_type_with_device_no(handle, 0, "t"), KORVANE_ERROR_AGENT_VERSION_LOWER);
}

TEST_F(DeviceIdentity, FailsForAProfileWithoutItsObject)
{
    void *no_object = nullptr; // the whole content of the handle
    auto *damaged = reinterpret_cast<korvane_device_profile_info_h>(&no_object);
    EXPECT_EQ(korvane_device_profile_info_set_nick(damaged, "n"), failed);
    EXPECT_EQ(korvane_device_profile_info_set_nick(damaged, nullptr), bad_argument);
    EXPECT_EQ(korvane_set_device_profile_info(handle, damaged), failed);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_device_profile_info_set_nick", "dev_profile_json is NULL"),
                        api_error("korvane_device_profile_info_set_nick", "nick is NULL"),
                        api_error("korvane_set_device_profile_info", "dev_profile_json is NULL")}));
    EXPECT_TRUE(sent().empty());
}

TEST_F(DeviceIdentity, SendsOneNickAndAllMembersInOrderIfNickIsSetTwice)
{
    korvane_device_profile_info_h profile = nullptr;
    ASSERT_EQ(korvane_device_profile_info_create(&profile), ok);
    EXPECT_EQ(korvane_device_profile_info_set_nick(profile, "old"), ok);
    EXPECT_EQ(korvane_device_profile_info_set_locale(profile, "en_GB"), ok);
    EXPECT_EQ(korvane_device_profile_info_set_push_reg_id(profile, "r"), ok);
    EXPECT_EQ(korvane_device_profile_info_set_push_app_id(profile, "a"), ok);
    EXPECT_EQ(korvane_device_profile_info_set_push_provider(profile, "p"), ok);
    EXPECT_EQ(korvane_device_profile_info_set_serial_number(profile, "s"), ok);
    EXPECT_EQ(korvane_device_profile_info_set_nick(profile, "new"), ok);
    arrives(reply(0));
    EXPECT_EQ(korvane_set_device_profile_info(handle, profile), ok);
    EXPECT_EQ(
        only_request(),
        bytes(i32(70), i32(0),
              str(R"({"locale":"en_GB","pushregid":"r","pushappid":"a","pushprovider":"p","sn":"s","nick":"new"})")));
    EXPECT_EQ(korvane_device_profile_info_destroy(profile), ok);
}

} // namespace
} // namespace kv::test
