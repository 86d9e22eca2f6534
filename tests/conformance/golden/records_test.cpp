// SPDX-License-Identifier: Apache-2.0
#include "values.hpp"

namespace kv::test {
namespace {

/// A record or an array: how to make a full and an empty one, their bytes, and the full one as text.
struct Golden {
    std::string name;
    void *(*full)();
    void *(*empty)();
    void (*destroy)(void *);
    std::string (*read_as)(void *);
    Bytes content;
    std::string text;
    Bytes empty_content;
};

std::ostream &operator<<(std::ostream &out, const Golden &golden)
{
    return out << golden.name;
}

template <auto Create>
auto made()
{
    std::remove_pointer_t<typename FirstParameter<decltype(Create)>::Type> value = nullptr;
    EXPECT_EQ(Create(&value), 0);
    return value;
}

template <auto Create>
void *empty()
{
    return made<Create>();
}

template <auto Destroy>
void destroy(void *value)
{
    EXPECT_EQ(Destroy(static_cast<typename FirstParameter<decltype(Destroy)>::Type>(value)), 0);
}

template <auto Destroy>
std::string read_as(void *value)
{
    return shown(static_cast<typename FirstParameter<decltype(Destroy)>::Type>(value));
}

/// Makes a row from the functions of a type.
template <auto Create, auto Destroy>
Golden golden(std::string name, void *(*full)(), Bytes content, std::string text, Bytes empty_content)
{
    return {std::move(name),  full,
            empty<Create>,    destroy<Destroy>,
            read_as<Destroy>, std::move(content),
            std::move(text),  std::move(empty_content)};
}

const std::vector<Golden> goldens = {
    golden<rpc_port_korvane_ap_info_create, rpc_port_korvane_ap_info_destroy>(
        "ap_info", [] { return static_cast<void *>(an_ap("home")); },
        bytes(str("home"), str("secret"), i32(4), i32(3), i32(11), str("02:00:00:00:00:01"), i32(-60), i32(54)),
        R"(ap_info("home", "secret", 4, 3, 11, "02:00:00:00:00:01", -60, 54))",
        bytes(str(""), str(""), i32(0), i32(0), i32(0), str(""), i32(0), i32(0))),
    golden<rpc_port_korvane_keepalive_info_create, rpc_port_korvane_keepalive_info_destroy>(
        "keepalive_info", [] { return static_cast<void *>(an_interval(240)); }, bytes(i32(240)), "keepalive_info(240)",
        bytes(i32(0))),
    golden<rpc_port_korvane_keepalive_index_info_create, rpc_port_korvane_keepalive_index_info_destroy>(
        "keepalive_index_info", [] { return static_cast<void *>(an_index(7)); }, bytes(i32(7)),
        "keepalive_index_info(7)", bytes(i32(0))),
    golden<rpc_port_korvane_device_prov_info_create, rpc_port_korvane_device_prov_info_destroy>(
        "device_prov_info", [] { return static_cast<void *>(a_provisioning()); },
        bytes(str("en_US"), str("US"), str("2026-11-21T10:00:00"), str("phone-1"), str("someone")),
        R"(device_prov_info("en_US", "US", "2026-11-21T10:00:00", "phone-1", "someone"))",
        bytes(str(""), str(""), str(""), str(""), str(""))),
    golden<rpc_port_korvane_language_info_create, rpc_port_korvane_language_info_destroy>(
        "language_info", [] { return static_cast<void *>(a_language("ko_KR")); }, bytes(str("ko_KR")),
        R"(language_info("ko_KR"))", bytes(str(""))),
    golden<rpc_port_korvane_cloud_device_info_create, rpc_port_korvane_cloud_device_info_destroy>(
        "cloud_device_info", [] { return static_cast<void *>(a_cloud_device("d-1")); }, bytes(str("d-1")),
        R"(cloud_device_info("d-1"))", bytes(str(""))),
    golden<rpc_port_korvane_last_status_info_create, rpc_port_korvane_last_status_info_destroy>(
        "last_status_info", [] { return static_cast<void *>(a_last_status()); }, bytes(i32(1700000000), str("E-12")),
        R"(last_status_info(1700000000, "E-12"))", bytes(i32(0), str(""))),
    golden<rpc_port_korvane_platform_info_create, rpc_port_korvane_platform_info_destroy>(
        "platform_info", [] { return static_cast<void *>(a_platform()); }, bytes(str("M-100"), str("6.5")),
        R"(platform_info("M-100", "6.5"))", bytes(str(""), str(""))),
    golden<rpc_port_korvane_cloud_info_create, rpc_port_korvane_cloud_info_destroy>(
        "cloud_info", [] { return static_cast<void *>(a_cloud()); },
        bytes(str("eu-west-1"), str("provider"), str("access"), str("refresh"), str("user-7"), str("client-9")),
        R"(cloud_info("eu-west-1", "provider", "access", "refresh", "user-7", "client-9"))",
        bytes(str(""), str(""), str(""), str(""), str(""), str(""))),
    golden<rpc_port_array_int_create, rpc_port_array_int_destroy>(
        "array_int", [] { return static_cast<void *>(numbers()); }, bytes(count(3), i32(1), i32(-2), i32(3)),
        "[1, -2, 3]", bytes(count(0))),
    golden<rpc_port_array_korvane_ap_info_create, rpc_port_array_korvane_ap_info_destroy>(
        "array_ap_info", [] { return static_cast<void *>(aps()); },
        bytes(count(2), str("home"), str("secret"), i32(4), i32(3), i32(11), str("02:00:00:00:00:01"), i32(-60),
              i32(54), str("attic"), str("secret"), i32(4), i32(3), i32(11), str("02:00:00:00:00:01"), i32(-60),
              i32(54)),
        R"([ap_info("home", "secret", 4, 3, 11, "02:00:00:00:00:01", -60, 54), )"
        R"(ap_info("attic", "secret", 4, 3, 11, "02:00:00:00:00:01", -60, 54)])",
        bytes(count(0))),
    golden<rpc_port_array_korvane_language_info_create, rpc_port_array_korvane_language_info_destroy>(
        "array_language_info", [] { return static_cast<void *>(languages()); },
        bytes(count(2), str("en_US"), str("ko_KR")), R"([language_info("en_US"), language_info("ko_KR")])",
        bytes(count(0))),
    golden<rpc_port_array_korvane_keepalive_info_create, rpc_port_array_korvane_keepalive_info_destroy>(
        "array_keepalive_info", [] { return static_cast<void *>(intervals()); }, bytes(count(2), i32(60), i32(240)),
        "[keepalive_info(60), keepalive_info(240)]", bytes(count(0))),
    golden<rpc_port_array_korvane_keepalive_index_info_create, rpc_port_array_korvane_keepalive_index_info_destroy>(
        "array_keepalive_index_info", [] { return static_cast<void *>(indexes()); }, bytes(count(2), i32(0), i32(3)),
        "[keepalive_index_info(0), keepalive_index_info(3)]", bytes(count(0))),
    golden<rpc_port_array_korvane_cloud_device_info_create, rpc_port_array_korvane_cloud_device_info_destroy>(
        "array_cloud_device_info", [] { return static_cast<void *>(cloud_devices()); },
        bytes(count(2), str("d-1"), str("d-2")), R"([cloud_device_info("d-1"), cloud_device_info("d-2")])",
        bytes(count(0))),
};

class GoldenBytes : public PlatformTest, public ::testing::WithParamInterface<Golden> {
protected:
    static kv::master::Parcelable *header_of(void *value) { return static_cast<kv::master::Parcelable *>(value); }

    /// Returns the bytes that the type's writer writes.
    Bytes written(void *value)
    {
        rpc_port_parcel_h parcel = platform.parcel_of({});
        EXPECT_EQ(rpc_port_parcel_write(parcel, &header_of(value)->functions, value), 0);
        const Bytes content = platform.content_of(parcel);
        rpc_port_parcel_destroy(parcel);
        return content;
    }

    /// Reads bytes with the type's reader.
    void read(void *value, const Bytes &content)
    {
        rpc_port_parcel_h parcel = platform.parcel_of(content);
        EXPECT_EQ(rpc_port_parcel_read(parcel, &header_of(value)->functions, value), 0);
        rpc_port_parcel_destroy(parcel);
    }
};

INSTANTIATE_TEST_SUITE_P(Of, GoldenBytes, ::testing::ValuesIn(goldens), [](const auto &row) { return row.param.name; });

TEST_P(GoldenBytes, AreWritten)
{
    void *value = GetParam().full();
    EXPECT_EQ(written(value), GetParam().content);
    GetParam().destroy(value);
}

TEST_P(GoldenBytes, AreWrittenForAnEmptyValue)
{
    void *value = GetParam().empty();
    EXPECT_EQ(written(value), GetParam().empty_content);
    GetParam().destroy(value);
}

TEST_P(GoldenBytes, AreReadAndWrittenAgain)
{
    void *value = GetParam().empty();
    read(value, GetParam().content);
    EXPECT_EQ(GetParam().read_as(value), GetParam().text);
    EXPECT_EQ(written(value), GetParam().content);
    GetParam().destroy(value);
}

TEST_P(GoldenBytes, ReadTwiceReplaceTheOldContent)
{
    void *value = GetParam().empty();
    read(value, GetParam().content);
    read(value, GetParam().empty_content);
    read(value, GetParam().content);
    EXPECT_EQ(GetParam().read_as(value), GetParam().text);
    GetParam().destroy(value);
}

TEST_P(GoldenBytes, TruncatedLeaveAValueThatCanBeDestroyed)
{
    for (std::size_t size = 0; size < GetParam().content.size(); ++size) {
        void *value = GetParam().empty();
        read(value, first(GetParam().content, size));
        EXPECT_FALSE(header_of(value)->complete) << size;
        GetParam().destroy(value);
    }
}

TEST_P(GoldenBytes, RefuseToWriteOrReadNull)
{
    void *value = GetParam().full();
    rpc_port_parcel_h parcel = platform.parcel_of(GetParam().content);
    const auto functions = header_of(value)->functions;
    functions.to(nullptr, value);
    functions.to(parcel, nullptr);
    functions.from(nullptr, value);
    functions.from(parcel, nullptr);
    const bool array = GetParam().name.starts_with("array_");
    const std::string name = array && GetParam().name != "array_int"
                                 ? "__array_korvane_" + GetParam().name.substr(6)
                                 : (array ? "__array_int" : "__korvane_" + GetParam().name);
    const LogLine writer = proxy_error(name + "_to", "Invalid parameter");
    const LogLine reader = proxy_error(name + "_from", "Invalid parameter");
    EXPECT_EQ(platform.log.lines(), (LogLines{writer, writer, reader, reader}));
    EXPECT_EQ(platform.content_of(parcel), GetParam().content);
    EXPECT_EQ(GetParam().read_as(value), GetParam().text);
    rpc_port_parcel_destroy(parcel);
    GetParam().destroy(value);
}

} // namespace
} // namespace kv::test
