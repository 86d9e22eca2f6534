// SPDX-License-Identifier: Apache-2.0
// The named functions that every record has: create and clone.
#include "conformance/golden/values.hpp"

#include <cstdlib>

namespace kv::test {
namespace {

/// The functions of a record without its type.
struct RecordFunctions {
    std::string name;
    std::function<void *()> make; // a record in which every field has a different value
    int (*create)(void **out);
    int (*clone)(void *source, void **copy);
    void (*destroy)(void *record);
    std::string (*show)(void *record);
    std::string text; // of the record
};

std::ostream &operator<<(std::ostream &out, const RecordFunctions &functions)
{
    return out << functions.name;
}

template <auto Create, auto Clone, auto Destroy>
RecordFunctions functions_of(std::string name, std::function<void *()> make, std::string text)
{
    using Record = typename FirstParameter<decltype(Destroy)>::Type;
    return {
        .name = std::move(name),
        .make = std::move(make),
        .create =
            [](void **out) {
                Record made = nullptr;
                const int result = Create(out ? &made : nullptr);
                if (out)
                    *out = made;
                return result;
            },
        .clone =
            [](void *source, void **copy) {
                Record made = nullptr;
                const int result = Clone(static_cast<Record>(source), copy ? &made : nullptr);
                if (copy)
                    *copy = made;
                return result;
            },
        .destroy = [](void *record) { EXPECT_EQ(Destroy(static_cast<Record>(record)), 0); },
        .show = [](void *record) { return shown(static_cast<Record>(record)); },
        .text = std::move(text),
    };
}

// One row per record.
// clang-format off
const std::vector<RecordFunctions> records = {
    functions_of<rpc_port_korvane_ap_info_create, rpc_port_korvane_ap_info_clone, rpc_port_korvane_ap_info_destroy>(
        "ap_info", [] { return an_ap("home"); },
        R"(ap_info("home", "secret", 4, 3, 11, "02:00:00:00:00:01", -60, 54))"),
    functions_of<rpc_port_korvane_keepalive_info_create, rpc_port_korvane_keepalive_info_clone,
                 rpc_port_korvane_keepalive_info_destroy>(
        "keepalive_info", [] { return an_interval(240); }, "keepalive_info(240)"),
    functions_of<rpc_port_korvane_keepalive_index_info_create, rpc_port_korvane_keepalive_index_info_clone,
                 rpc_port_korvane_keepalive_index_info_destroy>(
        "keepalive_index_info", [] { return an_index(3); }, "keepalive_index_info(3)"),
    functions_of<rpc_port_korvane_device_prov_info_create, rpc_port_korvane_device_prov_info_clone,
                 rpc_port_korvane_device_prov_info_destroy>(
        "device_prov_info", [] { return a_provisioning(); },
        R"(device_prov_info("en_US", "US", "2026-11-21T10:00:00", "phone-1", "someone"))"),
    functions_of<rpc_port_korvane_language_info_create, rpc_port_korvane_language_info_clone,
                 rpc_port_korvane_language_info_destroy>(
        "language_info", [] { return a_language("ko_KR"); }, R"(language_info("ko_KR"))"),
    functions_of<rpc_port_korvane_cloud_device_info_create, rpc_port_korvane_cloud_device_info_clone,
                 rpc_port_korvane_cloud_device_info_destroy>(
        "cloud_device_info", [] { return a_cloud_device("d-1"); }, R"(cloud_device_info("d-1"))"),
    functions_of<rpc_port_korvane_last_status_info_create, rpc_port_korvane_last_status_info_clone,
                 rpc_port_korvane_last_status_info_destroy>(
        "last_status_info", [] { return a_last_status(); }, R"(last_status_info(1700000000, "E-12"))"),
    functions_of<rpc_port_korvane_platform_info_create, rpc_port_korvane_platform_info_clone,
                 rpc_port_korvane_platform_info_destroy>(
        "platform_info", [] { return a_platform(); }, R"(platform_info("M-100", "6.5"))"),
    functions_of<rpc_port_korvane_cloud_info_create, rpc_port_korvane_cloud_info_clone,
                 rpc_port_korvane_cloud_info_destroy>(
        "cloud_info", [] { return a_cloud(); },
        R"(cloud_info("eu-west-1", "provider", "access", "refresh", "user-7", "client-9"))"),
};
// clang-format on

class RecordFunctionsTest : public PlatformTest, public ::testing::WithParamInterface<RecordFunctions> {
protected:
    std::string named(const std::string &function) const
    {
        return "rpc_port_korvane_" + GetParam().name + "_" + function;
    }
};

INSTANTIATE_TEST_SUITE_P(Of, RecordFunctionsTest, ::testing::ValuesIn(records),
                         [](const auto &row) { return row.param.name; });

TEST_P(RecordFunctionsTest, CloneEveryField)
{
    void *source = GetParam().make();
    void *copy = nullptr;
    ASSERT_EQ(GetParam().clone(source, &copy), 0);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, source);
    GetParam().destroy(source);
    EXPECT_EQ(GetParam().show(copy), GetParam().text);
    GetParam().destroy(copy);
    EXPECT_EQ(platform.log.lines(), LogLines{});
}

TEST_P(RecordFunctionsTest, RefuseNullWithMinus1)
{
    void *source = GetParam().make();
    void *copy = nullptr;
    const std::size_t blocks = allocs::live_blocks();
    EXPECT_EQ(GetParam().create(nullptr), -1);
    EXPECT_EQ(GetParam().clone(nullptr, &copy), -1);
    EXPECT_EQ(GetParam().clone(source, nullptr), -1);
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(allocs::live_blocks(), blocks);
    EXPECT_EQ(platform.log.lines(), (LogLines{proxy_error(named("create"), "Invalid parameter"),
                                              proxy_error(named("clone"), "Invalid parameter"),
                                              proxy_error(named("clone"), "Invalid parameter")}));
    GetParam().destroy(source);
}

TEST(ArrayFunctions, RefuseToCreateWithoutAnOutArgument)
{
    FakePlatform::instance().log.clear();
    EXPECT_EQ(rpc_port_array_korvane_ap_info_create(nullptr), -1);
    EXPECT_EQ(rpc_port_array_korvane_language_info_create(nullptr), -1);
    EXPECT_EQ(rpc_port_array_korvane_keepalive_info_create(nullptr), -1);
    EXPECT_EQ(rpc_port_array_korvane_keepalive_index_info_create(nullptr), -1);
    EXPECT_EQ(rpc_port_array_korvane_cloud_device_info_create(nullptr), -1);
    EXPECT_EQ(rpc_port_array_int_create(nullptr), -1);
    EXPECT_EQ(FakePlatform::instance().log.lines(),
              (LogLines{proxy_error("rpc_port_array_korvane_ap_info_create", "Invalid parameter"),
                        proxy_error("rpc_port_array_korvane_language_info_create", "Invalid parameter"),
                        proxy_error("rpc_port_array_korvane_keepalive_info_create", "Invalid parameter"),
                        proxy_error("rpc_port_array_korvane_keepalive_index_info_create", "Invalid parameter"),
                        proxy_error("rpc_port_array_korvane_cloud_device_info_create", "Invalid parameter"),
                        proxy_error("rpc_port_array_int_create", "Invalid parameter")}));
}

TEST(CloudDeviceInfo, ReturnsACopyOfItsDeviceId)
{
    rpc_port_korvane_cloud_device_info_h record = a_cloud_device("d-1");
    char *text = nullptr;
    EXPECT_EQ(rpc_port_korvane_cloud_device_info_get_device_id(record, &text), 0);
    rpc_port_korvane_cloud_device_info_destroy(record);
    EXPECT_STREQ(text, "d-1");
    std::free(text);
}

} // namespace
} // namespace kv::test
