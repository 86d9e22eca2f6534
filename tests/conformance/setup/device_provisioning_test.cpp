// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/setup_fixture.hpp"

#include <cstdlib>

namespace kv::test {
namespace {

constexpr int ok = KORVANE_ERROR_NONE;
constexpr int failed = KORVANE_ERROR_OPERATION_FAILED;

using Strings = std::vector<std::string>;

struct Getter {
    const char *name;
    int (*get)(korvane_device_prov_info_h info, char **value);
    const char *field;
    const char *value;
    int minimum_version;
};

const Getter getters[] = {
    {.name = "korvane_devinfo_get_language",
     .get = korvane_devinfo_get_language,
     .field = "language",
     .value = "en",
     .minimum_version = 0},
    {.name = "korvane_devinfo_get_country",
     .get = korvane_devinfo_get_country,
     .field = "country",
     .value = "GB",
     .minimum_version = 0},
    {.name = "korvane_devinfo_get_datetime",
     .get = korvane_devinfo_get_datetime,
     .field = "datetime",
     .value = "2026-01-02",
     .minimum_version = 0},
    {.name = "korvane_devinfo_get_regist_mobile_device",
     .get = korvane_devinfo_get_regist_mobile_device,
     .field = "rmd",
     .value = "phone",
     .minimum_version = 1001},
};

class DeviceProvisioning : public SetupTest {
protected:
    static void on_info(korvane_h handle, korvane_device_prov_info_h info, void *test)
    {
        auto &self = *static_cast<DeviceProvisioning *>(test);
        self.held = info;
        self.recorder.note(handle, shown(info));
    }

    void begin_set(const std::string &version = "2.3")
    {
        connect_to(version);
        ASSERT_EQ(korvane_set_device_provisioning_cb(handle, on_info, this), ok);
        seq_id = last_seq_id(platform.log);
        clear_records();
    }

    void push(const std::string &language = "en")
    {
        platform.proxy().push_event(
            event(8, seq_id, false, str(language), str("GB"), str("2026-01-02"), str("phone"), str("someone")));
    }

    void expect_text(const Getter &getter, const std::string &expected)
    {
        char *value = nullptr;
        EXPECT_EQ(getter.get(held, &value), ok) << getter.name;
        EXPECT_STREQ(value, expected.c_str());
        free(value);
    }

    korvane_device_prov_info_h held = nullptr;
    int seq_id = 0;
};

TEST_F(DeviceProvisioning, DeliversDataForTheGetters)
{
    for (const char *version : {"1.1", "2.3"}) {
        begin_set(version);
        push();
        for (const Getter &getter : getters)
            expect_text(getter, getter.value);
        EXPECT_EQ(platform.log.errors(), LogLines{});
        ASSERT_EQ(korvane_deinitialize(handle), ok);
    }
}

TEST_F(DeviceProvisioning, AcceptsEmptyLongAndNonUtf8Texts)
{
    begin_set();
    for (const std::string &text : {std::string(), std::string(1 << 20, 'x'), std::string("\xff\xfe")}) {
        push(text);
        expect_text(getters[0], text);
    }
}

TEST_F(DeviceProvisioning, KeepsDataUntilTheNextEvent)
{
    begin_set();
    push("en");
    expect_text(getters[0], "en");
    expect_text(getters[0], "en");
    push("ko");
    expect_text(getters[0], "ko");
    EXPECT_EQ(recorder.seen, Strings(2, "info"));
}

TEST_F(DeviceProvisioning, ReleasesDataInSetUnsetAndDeinitialize)
{
    begin_set();
    const std::size_t blocks = allocs::live_blocks();
    push();
    EXPECT_GT(allocs::live_blocks(), blocks);
    ASSERT_EQ(korvane_set_device_provisioning_cb(handle, on_info, this), ok);
    EXPECT_EQ(allocs::live_blocks(), blocks);
    seq_id = last_seq_id(platform.log);
    push();
    EXPECT_GT(allocs::live_blocks(), blocks);
    ASSERT_EQ(korvane_unset_device_provisioning_cb(handle), ok);
    EXPECT_LT(allocs::live_blocks(), blocks); // the delegate is released too
    // An initialised library recognises a handle that the application kept too long.
    char *value = nullptr;
    EXPECT_EQ(korvane_devinfo_get_language(held, &value), failed);
    EXPECT_EQ(value, nullptr);
}

TEST_F(DeviceProvisioning, KeepsDataIfASetIsRefused)
{
    begin_set();
    push();
    EXPECT_EQ(korvane_set_device_provisioning_cb(handle, nullptr, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    begin_install();
    EXPECT_EQ(korvane_set_device_provisioning_cb(handle, on_info, this), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    EXPECT_EQ(korvane_unset_device_provisioning_cb(handle), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    expect_text(getters[0], "en");
}

TEST_F(DeviceProvisioning, LetsTheCallbackReleaseItsData)
{
    begin_set();
    recorder.then = [&](korvane_h seen) {
        expect_text(getters[0], "en");
        EXPECT_EQ(korvane_unset_device_provisioning_cb(seen), ok);
    };
    push();
    EXPECT_EQ(recorder.seen, Strings{"info"});
}

TEST_F(DeviceProvisioning, SurvivesTheFailureOfEachAllocationOfAnEvent)
{
    fail_each_allocation(
        [&] {
            begin_set();
            push("first");
            recorder.seen.clear();
        },
        [&] {
            push("second");
            return 0;
        },
        [&](int before, int) {
            EXPECT_EQ(recorder.seen, before < 0 ? Strings{"info"} : Strings{})
                << "incomplete data must not be delivered";
            if (before >= 0) {
                EXPECT_FALSE(platform.log.errors().empty());
            }
        });
}

TEST_F(DeviceProvisioning, LogsAFailedCloneAndReleasesTheEarlierData)
{
    begin_set();
    push();
    recorder.seen.clear();
    // The first allocations are those of the received record and its five texts.
    const char *const fields[] = {"language", "country", "datetime", "rmd", "account"};
    for (unsigned i = 0; i < 5; ++i) {
        platform.log.clear();
        allocs::fail_nth(6 + 2 + i);
        push();
        allocs::stop_failing();
        EXPECT_EQ(platform.log.errors(), (LogLines{proxy_error("rpc_port_korvane_device_prov_info_clone",
                                                               std::string("Failed to duplicate h->") + fields[i])}));
    }
    platform.log.clear();
    allocs::fail_nth(6 + 1);
    push();
    allocs::stop_failing();
    EXPECT_TRUE(platform.log.has(
        proxy_error("rpc_port_korvane_device_prov_info_clone", "Failed to create korvane_device_prov_info handle")));
    EXPECT_EQ(recorder.seen, Strings{});
    char *value = nullptr;
    EXPECT_EQ(korvane_devinfo_get_language(held, &value), failed);
}

TEST_F(DeviceProvisioning, FailsWithoutMemoryAndWritesNothing)
{
    begin_set();
    push();
    for (const Getter &getter : getters) {
        platform.log.clear();
        char untouched = 'u';
        char *value = &untouched;
        allocs::fail_nth(1);
        EXPECT_EQ(getter.get(held, &value), failed);
        allocs::stop_failing();
        EXPECT_EQ(value, &untouched);
        const std::string record_getter = std::string("rpc_port_korvane_device_prov_info_get_") + getter.field;
        EXPECT_EQ(platform.log.errors(),
                  (LogLines{proxy_error(record_getter, std::string("Failed to duplicate ") + getter.field),
                            api_error(getter.name, record_getter + "() failed")}));
    }
}

TEST_F(DeviceProvisioning, RefusesNullArgumentsInTheirOrderAlsoDuringUpdates)
{
    begin_set();
    push();
    begin_install();
    for (const Getter &getter : getters) {
        platform.log.clear();
        EXPECT_EQ(getter.get(nullptr, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
        EXPECT_EQ(getter.get(held, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
        EXPECT_EQ(platform.log.lines(),
                  (LogLines{api_info(getter.name, ">>> called"), api_error(getter.name, "handle is NULL"),
                            api_info(getter.name, ">>> called"),
                            api_error(getter.name, std::string(getter.field) + " is NULL")}));
        expect_text(getter, getter.value);
    }
}

TEST_F(DeviceProvisioning, ChecksTheVersionForTheMobileDeviceBeforeItsArguments)
{
    begin_set("1.0");
    push();
    EXPECT_EQ(korvane_devinfo_get_regist_mobile_device(nullptr, nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(platform.log.errors(),
              (LogLines{api_error("korvane_devinfo_get_regist_mobile_device", "agent version is lower!!")}));
    expect_text(getters[0], "en");
}

TEST_F(DeviceProvisioning, IsNotSupportedWithoutAnAgent)
{
    platform.results["package_info_create"] = -18153359;
    for (const Getter &getter : getters)
        EXPECT_EQ(getter.get(nullptr, nullptr), KORVANE_ERROR_NOT_SUPPORTED);
}

} // namespace
} // namespace kv::test
