// SPDX-License-Identifier: Apache-2.0
#include "commands.hpp"

#include <set>

namespace kv::test {
namespace {

constexpr int package_not_installed = -18153359;

class SetupCommand : public SetupTest, public ::testing::WithParamInterface<Command> {
protected:
    void connect_to_its_agent() { connect_to(GetParam().agent_version); }
    int call(korvane_h called_with) { return GetParam().call(called_with); }
    LogLine info(const std::string &message) { return api_info(GetParam().function, message); }
    LogLine error(const std::string &message) { return api_error(GetParam().function, message); }

    /// The lines of a call that sends its request.
    LogLines lines_of_a_call()
    {
        LogLines lines = {info(">>> called")};
        for (const std::string &message : GetParam().lines)
            lines.push_back(info(message));
        return lines;
    }
};

INSTANTIATE_TEST_SUITE_P(Of, SetupCommand, ::testing::ValuesIn(setup_commands),
                         [](const auto &row) { return row.param.label; });

TEST_P(SetupCommand, SendsAndLogsItsArgumentsOnce)
{
    connect_to_its_agent();
    EXPECT_EQ(call(handle), KORVANE_ERROR_NONE);
    EXPECT_EQ(sent(), (std::vector<Bytes>{GetParam().request}));
    EXPECT_EQ(platform.log.lines(), lines_of_a_call());
}

TEST_P(SetupCommand, IsNotSupportedWithoutAnAgentWithAnyHandle)
{
    platform.results["package_info_create"] = package_not_installed;
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(platform.log.lines(), (LogLines{info(">>> called"), error("Not Supported")}));
}

TEST_P(SetupCommand, ChecksTheVersionBeforeTheHandle)
{
    const int minimum = GetParam().minimum_version;
    if (minimum == 0)
        platform.agent_version = "0.-1";
    else
        platform.agent_version = std::to_string(minimum / 1000) + "." + std::to_string(minimum % 1000 - 1);
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(platform.log.errors(), (LogLines{error("agent version is lower!!")}));
}

TEST_P(SetupCommand, WorksWithItsLowestAgentVersion)
{
    const int minimum = GetParam().minimum_version;
    connect_to(minimum == 0 ? "1.0" : std::to_string(minimum / 1000) + "." + std::to_string(minimum % 1000));
    EXPECT_EQ(call(handle), KORVANE_ERROR_NONE);
}

TEST_P(SetupCommand, RefusesANullHandleAndAnUnknownOne)
{
    connect_to_its_agent();
    begin_install(); // is checked later
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.lines(), (LogLines{info(">>> called"), error("handle is NULL")}));
    platform.log.clear();
    EXPECT_EQ(call(reinterpret_cast<korvane_h>(8)), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors(), (LogLines{error("handle is not the live one")}));
    EXPECT_TRUE(sent().empty());
}

TEST_P(SetupCommand, IsRefusedDuringInstallationWithoutLoggingArguments)
{
    connect_to_its_agent();
    begin_install();
    EXPECT_EQ(call(handle), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(platform.log.lines(), (LogLines{info(">>> called"), error("Agent is being installing")}));
    EXPECT_TRUE(sent().empty());
}

TEST_P(SetupCommand, MapsTheReplyToAResult)
{
    connect_to_its_agent();
    const std::string failure = GetParam().function + "() is failed, err=[";
    for (auto [answer, expected] : {std::pair{-13, int{KORVANE_ERROR_PERMISSION_DENIED}},
                                    {-5, KORVANE_ERROR_OPERATION_FAILED},
                                    {-1, KORVANE_ERROR_OPERATION_FAILED},
                                    {1, KORVANE_ERROR_OPERATION_FAILED}}) {
        platform.log.clear();
        answers(answer);
        EXPECT_EQ(call(handle), expected) << answer;
        EXPECT_EQ(platform.log.errors(), (LogLines{error(failure + std::to_string(answer) + "] r=[0]")}));
    }
}

TEST_P(SetupCommand, ReportsABrokenLink)
{
    connect_to_its_agent();
    platform.main_port().on_sent = nullptr;
    EXPECT_EQ(call(handle), KORVANE_ERROR_IO_ERROR);
    EXPECT_TRUE(platform.log.has(error(GetParam().function + "() is failed, err=[-1] r=[-5]")));
}

TEST_P(SetupCommand, SurvivesTheFailureOfEachPlatformCall)
{
    std::set<std::string> seen;
    std::size_t blocks = 0;
    fail_each_platform_call(
        [&] {
            connect_to_its_agent();
            blocks = allocs::live_blocks();
        },
        [&] { return call(handle); },
        [&](const std::string &failed, int result) {
            seen.insert(failed);
            EXPECT_EQ(result, outcome_of_request(failed));
            EXPECT_EQ(allocs::live_blocks(), blocks);
        });
    for (const char *expected : {"rpc_port_parcel_create 1", "rpc_port_parcel_write_int32 1", "rpc_port_parcel_send 1",
                                 "rpc_port_parcel_create_from_port 1", "rpc_port_parcel_read_int32 2"})
        EXPECT_TRUE(seen.contains(expected)) << expected;
}

TEST_P(SetupCommand, SurvivesTheFailureOfEachAllocation)
{
    std::size_t blocks = 0;
    fail_each_allocation(
        [&] {
            connect_to_its_agent();
            blocks = allocs::live_blocks();
        },
        [&] { return call(handle); },
        [&](int before, int result) {
            EXPECT_EQ(result, before < 0 ? KORVANE_ERROR_NONE : KORVANE_ERROR_OUT_OF_MEMORY);
            EXPECT_EQ(sent().size(), before < 0 ? 1U : 0U);
            EXPECT_EQ(allocs::live_blocks(), blocks);
        });
}

/// Arguments that a function refuses. It checks them after the version and the handle and before the update.
struct Refusal {
    std::string label;
    std::string function;
    int minimum_version;
    int (*call)(korvane_h handle);
    std::string message;
};

std::ostream &operator<<(std::ostream &out, const Refusal &refusal)
{
    return out << refusal.label;
}

void ignore(korvane_h, void *) {}
void ignore_pin(korvane_h, const char *, int, void *) {}
const char *const one_language = "en-GB";

const std::vector<Refusal> refusals = {
    {.label = "RandomPinNull",
     .function = "korvane_set_random_pin",
     .minimum_version = 1004,
     .call = [](korvane_h handle) { return korvane_set_random_pin(handle, nullptr); },
     .message = "pin is NULL"},
    {.label = "RandomPinEmpty",
     .function = "korvane_set_random_pin",
     .minimum_version = 1004,
     .call = [](korvane_h handle) { return korvane_set_random_pin(handle, ""); },
     .message = "pin is not valid"},
    {.label = "PreconfiguredPinNull",
     .function = "korvane_set_preconfigured_pin",
     .minimum_version = 0,
     .call = [](korvane_h handle) { return korvane_set_preconfigured_pin(handle, nullptr); },
     .message = "pin is NULL"},
    {.label = "VendorInfoNull",
     .function = "korvane_set_provisioning_vendor_info",
     .minimum_version = 1003,
     .call = [](korvane_h handle) { return korvane_set_provisioning_vendor_info(handle, nullptr); },
     .message = "prov_json_str is NULL"},
    {.label = "SsoListNull",
     .function = "korvane_set_sso_list",
     .minimum_version = 1003,
     .call = [](korvane_h handle) { return korvane_set_sso_list(handle, nullptr); },
     .message = "sso_list is NULL"},
    {.label = "EasysetupVersionInfoNull",
     .function = "korvane_set_easysetup_version_info",
     .minimum_version = 1003,
     .call = [](korvane_h handle) { return korvane_set_easysetup_version_info(handle, nullptr); },
     .message = "es_version_info is NULL"},
    {.label = "LanguageListNull",
     .function = "korvane_set_language_list",
     .minimum_version = 1003,
     .call = [](korvane_h handle) { return korvane_set_language_list(handle, nullptr, 2); },
     .message = "Invalid param : language_list=[(nil)], count=[2]"},
    {.label = "LanguageListNullAndEmpty",
     .function = "korvane_set_language_list",
     .minimum_version = 1003,
     .call = [](korvane_h handle) { return korvane_set_language_list(handle, nullptr, 0); },
     .message = "Invalid param : language_list=[(nil)], count=[0]"},
    {.label = "ApListNull",
     .function = "korvane_send_ap_list",
     .minimum_version = 0,
     .call = [](korvane_h handle) { return korvane_send_ap_list(handle, nullptr, 1); },
     .message = "ap_list_h is NULL"},
    {.label = "ScanCallbackNull",
     .function = "korvane_set_scan_ap_cb",
     .minimum_version = 0,
     .call = [](korvane_h handle) { return korvane_set_scan_ap_cb(handle, nullptr, nullptr); },
     .message = "scan_ap_cb is NULL"},
    {.label = "WifiApCallbackNull",
     .function = "korvane_set_wifi_ap_provisioning_cb",
     .minimum_version = 0,
     .call = [](korvane_h handle) { return korvane_set_wifi_ap_provisioning_cb(handle, nullptr, nullptr); },
     .message = "callback is NULL"},
    {.label = "DeviceProvisioningCallbackNull",
     .function = "korvane_set_device_provisioning_cb",
     .minimum_version = 0,
     .call = [](korvane_h handle) { return korvane_set_device_provisioning_cb(handle, nullptr, nullptr); },
     .message = "callback is NULL"},
    {.label = "PinFirstCallbackNull",
     .function = "korvane_set_pin_cb",
     .minimum_version = 0,
     .call = [](korvane_h handle) { return korvane_set_pin_cb(handle, nullptr, ignore, nullptr); },
     .message = "callback is NULL"},
    {.label = "PinSecondCallbackNull",
     .function = "korvane_set_pin_cb",
     .minimum_version = 0,
     .call = [](korvane_h handle) { return korvane_set_pin_cb(handle, ignore_pin, nullptr, nullptr); },
     .message = "callback is NULL"},
    {.label = "UltrasoundPinFirstCallbackNull",
     .function = "korvane_set_ultrasound_pin_cb",
     .minimum_version = 1001,
     .call = [](korvane_h handle) { return korvane_set_ultrasound_pin_cb(handle, nullptr, ignore, nullptr); },
     .message = "callback is NULL"},
    {.label = "UltrasoundPinSecondCallbackNull",
     .function = "korvane_set_ultrasound_pin_cb",
     .minimum_version = 1001,
     .call = [](korvane_h handle) { return korvane_set_ultrasound_pin_cb(handle, ignore_pin, nullptr, nullptr); },
     .message = "callback is NULL"},
    {.label = "StopSoftApCallbackNull",
     .function = "korvane_set_stop_soft_ap_cb",
     .minimum_version = 0,
     .call = [](korvane_h handle) { return korvane_set_stop_soft_ap_cb(handle, nullptr, nullptr); },
     .message = "callback is NULL"},
    {.label = "LanguageCallbackNull",
     .function = "korvane_set_provisioning_language_cb",
     .minimum_version = 1003,
     .call = [](korvane_h handle) { return korvane_set_provisioning_language_cb(handle, nullptr, nullptr); },
     .message = "provisioning_language_cb is NULL"},
    {.label = "VendorInfoCallbackNull",
     .function = "korvane_set_provisioning_vendor_info_cb",
     .minimum_version = 1003,
     .call = [](korvane_h handle) { return korvane_set_provisioning_vendor_info_cb(handle, nullptr, nullptr); },
     .message = "prov_vendor_info_cb is NULL"},
    {.label = "OtmSupportFeatureCallbackNull",
     .function = "korvane_set_otm_support_feature_cb",
     .minimum_version = 1003,
     .call = [](korvane_h handle) { return korvane_set_otm_support_feature_cb(handle, nullptr, nullptr); },
     .message = "otm_support_feature_cb is NULL"},
    {.label = "GetRequestedCallbackNull",
     .function = "korvane_set_provisioning_get_requested_cb",
     .minimum_version = 1004,
     .call = [](korvane_h handle) { return korvane_set_provisioning_get_requested_cb(handle, nullptr, nullptr); },
     .message = "callback is NULL"},
};

class SetupArgument : public SetupTest, public ::testing::WithParamInterface<Refusal> {};

INSTANTIATE_TEST_SUITE_P(Of, SetupArgument, ::testing::ValuesIn(refusals),
                         [](const auto &row) { return row.param.label; });

TEST_P(SetupArgument, IsCheckedAfterTheHandleAndBeforeTheUpdate)
{
    connect_to("2.3");
    begin_install();
    const auto &[label, function, minimum, call, message] = GetParam();
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(call(handle), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error(function, "handle is NULL"), api_error(function, message)}));
    EXPECT_TRUE(sent().empty());
}

std::vector<Refusal> refusals_of_newer_functions()
{
    std::vector<Refusal> kept;
    for (const Refusal &refusal : refusals)
        if (refusal.minimum_version > 0)
            kept.push_back(refusal);
    return kept;
}

class NewerSetupArgument : public SetupArgument {};

INSTANTIATE_TEST_SUITE_P(Of, NewerSetupArgument, ::testing::ValuesIn(refusals_of_newer_functions()),
                         [](const auto &row) { return row.param.label; });

TEST_P(NewerSetupArgument, IsNotCheckedWithAnOlderAgent)
{
    const auto &[label, function, minimum, call, message] = GetParam();
    connect_to(std::to_string(minimum / 1000) + "." + std::to_string(minimum % 1000 - 1));
    EXPECT_EQ(call(handle), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error(function, "agent version is lower!!")}));
}

class LanguageList : public SetupTest {};

TEST_F(LanguageList, OfCountZeroOrBelowIsRefusedWithBothValuesInTheLog)
{
    connect_to("2.3");
    for (int count : {0, -1, -2147483647 - 1}) {
        platform.log.clear();
        EXPECT_EQ(korvane_set_language_list(handle, &one_language, count), KORVANE_ERROR_INVALID_PARAMETER);
        std::ostringstream shown_values;
        shown_values << "Invalid param : language_list=[" << static_cast<const void *>(&one_language) << "], count=["
                     << count << "]";
        EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_set_language_list", shown_values.str())}));
    }
    EXPECT_TRUE(sent().empty());
}

TEST_F(LanguageList, WithATextThatIsNullIsRefusedAndNothingIsSent)
{
    connect_to("2.3");
    const char *const languages[] = {"en-GB", nullptr};
    const std::size_t blocks = allocs::live_blocks();
    EXPECT_EQ(korvane_set_language_list(handle, languages, 2), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_set_language_list", "Invalid param : language_list[1] is NULL")}));
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(allocs::live_blocks(), blocks);
}

TEST_F(LanguageList, SendsManyLongTexts)
{
    connect_to("1.3");
    const std::string text(1 << 20, 'x');
    const std::vector<const char *> languages(3, text.c_str());
    EXPECT_EQ(korvane_set_language_list(handle, languages.data(), 3), KORVANE_ERROR_NONE);
    EXPECT_EQ(sent(), (std::vector<Bytes>{bytes(i32(59), count(3), str(text), str(text), str(text))}));

    platform.main_port().sent.clear();
    const std::vector<const char *> many(5000, "xx");
    EXPECT_EQ(korvane_set_language_list(handle, many.data(), 5000), KORVANE_ERROR_NONE);
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0].size(), 8U + 5000U * 6U);
}

TEST_F(LanguageList, WithoutMemoryForTheArrayLogsTheFailure)
{
    connect_to("2.3");
    allocs::fail_nth(1);
    EXPECT_EQ(korvane_set_language_list(handle, &one_language, 1), KORVANE_ERROR_OUT_OF_MEMORY);
    EXPECT_EQ(
        platform.log.errors(),
        (LogLines{proxy_error("rpc_port_array_korvane_language_info_create", "Out of memory"),
                  api_error("korvane_set_language_list", "rpc_port_array_korvane_language_info_create() failed")}));
}

TEST_F(LanguageList, WithoutMemoryForARecordLogsTheRecord)
{
    connect_to("2.3");
    allocs::fail_nth(3); // after the array and the table of records
    EXPECT_EQ(korvane_set_language_list(handle, &one_language, 1), KORVANE_ERROR_OUT_OF_MEMORY);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{proxy_error("rpc_port_korvane_language_info_create", "Out of memory"),
                        proxy_error("korvane_set_language_list", "Failed to create korvane_language_info handle"),
                        api_error("korvane_set_language_list", "Memory allocation is failed")}));
    EXPECT_TRUE(sent().empty());
}

class Pins : public SetupTest {};

TEST_F(Pins, AreNeverLogged)
{
    connect_to("2.3");
    EXPECT_EQ(korvane_set_random_pin(handle, "31415926"), 0);
    EXPECT_EQ(korvane_set_preconfigured_pin(handle, "31415926"), 0);
    ASSERT_EQ(korvane_set_pin_cb(handle, Note<'p', const char *, int>::call, Note<'c'>::call, &recorder), 0);
    const int seq = last_seq_id(platform.log) - 1;
    platform.proxy().push_event(event(5, seq, false, str("31415926"), i32(2)));
    EXPECT_EQ(recorder.seen, (std::vector<std::string>{"p 31415926 2"}));
    for (const LogLine &line : platform.log.lines())
        EXPECT_EQ(line.message.find("31415926"), std::string::npos) << line;
}

TEST_F(Pins, RandomPinChecksTheVersionBeforeItsArguments)
{
    connect_to("1.3");
    EXPECT_EQ(korvane_set_random_pin(handle, ""), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(korvane_set_random_pin(nullptr, nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
}

} // namespace
} // namespace kv::test
