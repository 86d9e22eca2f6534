// SPDX-License-Identifier: Apache-2.0
// Device id, setup status, device properties, and the four events that every agent version supports.
#include "conformance/fixtures/setup_fixture.hpp"

namespace kv::test {
namespace {

using Strings = std::vector<std::string>;

constexpr int ok = KORVANE_ERROR_NONE;
constexpr int bad_argument = KORVANE_ERROR_INVALID_PARAMETER;

class CoreState : public SetupTest {
protected:
    void expect_refused(int code, const std::string &function, const std::string &message)
    {
        EXPECT_EQ(code, bad_argument);
        EXPECT_EQ(platform.log.errors(), (LogLines{api_error(function, message)}));
        EXPECT_TRUE(sent().empty());
        platform.log.clear();
    }
};

TEST_F(CoreState, NullOutArgumentsAreRefusedBeforeTheUpdateGate)
{
    connect_to("1.0");
    begin_install();
    expect_refused(korvane_get_device_id(handle, nullptr), "korvane_get_device_id", "device_id is NULL");
    expect_refused(korvane_get_easysetup_status(handle, nullptr), "korvane_get_easysetup_status", "status is NULL");
}

TEST_F(CoreState, DevicePropertiesAreCheckedBeforeTheUpdateGate)
{
    const std::string name = "korvane_set_device_property";
    connect_to("1.0");
    begin_install();
    expect_refused(korvane_set_device_property(handle, nullptr, 0, 0), name, "dev_name is NULL");
    expect_refused(korvane_set_device_property(handle, "lamp", 0, 1), name,
                   "Invalid param, wifi_mode=[0x0], wifi_freq=[0x1]");
    expect_refused(korvane_set_device_property(handle, "lamp", 2, -1), name,
                   "Invalid param, wifi_mode=[0x2], wifi_freq=[0xffffffff]");
    EXPECT_EQ(korvane_set_device_property(handle, "lamp", 2, 1), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error(name, "Agent is being installing")}));
}

TEST_F(CoreState, DevicePropertiesAreLoggedAtEntryEvenWithoutAName)
{
    connect_to("2.2");
    platform.log.clear();
    EXPECT_EQ(korvane_set_device_property(handle, nullptr, 1, 2), bad_argument);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{api_info("korvane_set_device_property", "dev_name [(null)], wifi_mode [0x1], wifi_freq [0x2]"),
                        api_info("korvane_set_device_property", ">>> called"),
                        api_error("korvane_set_device_property", "dev_name is NULL")}));
    platform.log.clear();
    EXPECT_EQ(korvane_set_device_property_with_wifi_authtype(handle, nullptr, 1, 2, nullptr, 0), bad_argument);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{api_info("korvane_set_device_property_with_wifi_authtype",
                                 "dev_name [(null)], wifi_mode [0x1], wifi_freq [0x2], wifi authtype count [0]"),
                        api_info("korvane_set_device_property_with_wifi_authtype", ">>> called"),
                        api_error("korvane_set_device_property_with_wifi_authtype", "dev_name is NULL")}));
}

TEST_F(CoreState, AuthenticationTypesCheckTheVersionBeforeTheArguments)
{
    connect_to("2.1");
    platform.log.clear();
    EXPECT_EQ(korvane_set_device_property_with_wifi_authtype(nullptr, nullptr, 0, 0, nullptr, 0),
              KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_set_device_property_with_wifi_authtype", "agent version is lower!!")}));
}

TEST_F(CoreState, AuthenticationTypesNeedAnArrayAndACount)
{
    const std::string name = "korvane_set_device_property_with_wifi_authtype";
    const int types[] = {3};
    connect_to("2.2");
    begin_install();
    std::ostringstream given;
    given << static_cast<const void *>(types);
    expect_refused(korvane_set_device_property_with_wifi_authtype(handle, "lamp", 1, 1, types, 0), name,
                   "Invalid param, wifi_authtype_array=[" + given.str() + "], wifi_authtype_count=[0]");
    expect_refused(korvane_set_device_property_with_wifi_authtype(handle, "lamp", 1, 1, nullptr, 1), name,
                   "Invalid param, wifi_authtype_array=[(nil)], wifi_authtype_count=[1]");
}

TEST_F(CoreState, OneAuthenticationTypeIsSentAsAnArrayOfOne)
{
    const int types[] = {3};
    connect_to("2.2");
    EXPECT_EQ(korvane_set_device_property_with_wifi_authtype(handle, "lamp", 1, 2, types, 1), ok);
    EXPECT_EQ(sent(), (std::vector<Bytes>{
                          bytes(i32(102), str(R"({"common_interface":4,"dev_name":"lamp","wifi_mode":1,"wifi_freq":2,)"
                                              R"("wifi_authtype":[3]})"))}));
}

/// An event of this family.
struct CoreEvent {
    const char *label;
    int (*set)(korvane_h handle, bool with_callback, Recorder *recorder);
    int delegate_id;
    Bytes values;
    const char *seen; // what the callback of the application receives
    const char *line; // the line that the library logs; empty for an event without values
    const char *trampoline;
    const char *set_name;
};

template <auto Set, class Callback>
int set_if(korvane_h handle, Callback callback, bool with_callback, Recorder *recorder)
{
    return Set(handle, with_callback ? callback : nullptr, recorder);
}

class CoreRegistration : public SetupTest, public ::testing::WithParamInterface<CoreEvent> {};

const CoreEvent core_events[] = {
    {.label = "StatusChanged",
     .set = [](korvane_h h, bool with,
               Recorder *r) { return set_if<korvane_set_status_changed_cb>(h, Note<'s', int>::call, with, r); },
     .delegate_id = 1,
     .values = i32(3),
     .seen = "s 3",
     .line = "status [3]",
     .trampoline = "_status_changed_cb",
     .set_name = "korvane_set_status_changed_cb"},
    {.label = "UserConfirm",
     .set = [](korvane_h h, bool with,
               Recorder *r) { return set_if<korvane_set_user_confirm_cb>(h, Note<'u'>::call, with, r); },
     .delegate_id = 2,
     .values = {},
     .seen = "u",
     .line = "",
     .trampoline = "_user_confirm_cb",
     .set_name = "korvane_set_user_confirm_cb"},
    {.label = "ResetConfirm",
     .set = [](korvane_h h, bool with,
               Recorder *r) { return set_if<korvane_set_reset_confirm_cb>(h, Note<'c'>::call, with, r); },
     .delegate_id = 3,
     .values = {},
     .seen = "c",
     .line = "",
     .trampoline = "_reset_confirm_cb",
     .set_name = "korvane_set_reset_confirm_cb"},
    {.label = "ResetResult",
     .set = [](korvane_h h, bool with,
               Recorder *r) { return set_if<korvane_set_reset_result_cb>(h, Note<'r', bool>::call, with, r); },
     .delegate_id = 4,
     .values = boolean(true),
     .seen = "r 1",
     .line = "result [true]",
     .trampoline = "_reset_result_cb",
     .set_name = "korvane_set_reset_result_cb"},
};

INSTANTIATE_TEST_SUITE_P(Of, CoreRegistration, ::testing::ValuesIn(core_events),
                         [](const auto &row) { return std::string(row.param.label); });

TEST_P(CoreRegistration, NullCallbackIsRefusedAndKeepsTheEarlierRegistration)
{
    connect_to("1.0");
    ASSERT_EQ(GetParam().set(handle, true, &recorder), ok);
    const int seq_id = last_seq_id(platform.log);
    clear_records();
    begin_install(); // the argument is checked before the update
    EXPECT_EQ(GetParam().set(handle, false, nullptr), bad_argument);
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info(GetParam().set_name, ">>> called"),
                                              api_error(GetParam().set_name, "callback is NULL")}));
    EXPECT_TRUE(sent().empty());
    platform.proxy().push_event(event(GetParam().delegate_id, seq_id, false, GetParam().values));
    EXPECT_EQ(recorder.seen, (Strings{GetParam().seen}));
}

TEST_P(CoreRegistration, EventIsLoggedWithItsValuesAndReachesTheCallback)
{
    connect_to("1.0");
    ASSERT_EQ(GetParam().set(handle, true, &recorder), ok);
    const int seq_id = last_seq_id(platform.log);
    platform.log.clear();
    platform.proxy().push_event(event(GetParam().delegate_id, seq_id, false, GetParam().values));
    const std::string line = GetParam().line;
    EXPECT_EQ(platform.log.api(), line.empty() ? LogLines{} : LogLines{api_info(GetParam().trampoline, line)});
    EXPECT_EQ(recorder.seen, (Strings{GetParam().seen}));
    EXPECT_EQ(recorder.handle, handle);
}

} // namespace
} // namespace kv::test
