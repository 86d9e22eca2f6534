// SPDX-License-Identifier: Apache-2.0
#include "values.hpp"

#include <array>

namespace kv::test {

namespace {

/// Fills an array, which keeps clones, and destroys the originals.
template <auto Create, auto Set, auto DestroyItem, class Item, std::size_t N>
auto filled(const std::array<Item, N> &items)
{
    std::remove_pointer_t<typename FirstParameter<decltype(Create)>::Type> array = nullptr;
    EXPECT_EQ(Create(&array), 0);
    EXPECT_EQ(Set(array, items.data(), static_cast<int>(N)), 0);
    for (Item item : items)
        EXPECT_EQ(DestroyItem(item), 0);
    return array;
}

std::string fields(const std::vector<std::string> &values)
{
    std::string text = "(";
    for (std::size_t i = 0; i < values.size(); ++i)
        text += separator(i > 0) + values[i];
    return text + ")";
}

std::string shown(const kv::CText &text)
{
    return kv::test::shown(text.get());
}

} // namespace

rpc_port_korvane_ap_info_h an_ap(const char *ssid)
{
    rpc_port_korvane_ap_info_h record = nullptr;
    EXPECT_EQ(rpc_port_korvane_ap_info_create(&record), 0);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_ssid(record, ssid), 0);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_pwd(record, "secret"), 0);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_authtype(record, 4), 0);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_enctype(record, 3), 0);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_channel(record, 11), 0);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_bssid(record, "02:00:00:00:00:01"), 0);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_signal_level(record, -60), 0);
    EXPECT_EQ(rpc_port_korvane_ap_info_set_max_rate(record, 54), 0);
    return record;
}

rpc_port_korvane_keepalive_info_h an_interval(int interval)
{
    rpc_port_korvane_keepalive_info_h record = nullptr;
    EXPECT_EQ(rpc_port_korvane_keepalive_info_create(&record), 0);
    EXPECT_EQ(rpc_port_korvane_keepalive_info_set_interval(record, interval), 0);
    return record;
}

rpc_port_korvane_keepalive_index_info_h an_index(int index)
{
    rpc_port_korvane_keepalive_index_info_h record = nullptr;
    EXPECT_EQ(rpc_port_korvane_keepalive_index_info_create(&record), 0);
    EXPECT_EQ(rpc_port_korvane_keepalive_index_info_set_index(record, index), 0);
    return record;
}

rpc_port_korvane_device_prov_info_h a_provisioning()
{
    rpc_port_korvane_device_prov_info_h record = nullptr;
    EXPECT_EQ(rpc_port_korvane_device_prov_info_create(&record), 0);
    EXPECT_EQ(rpc_port_korvane_device_prov_info_set_language(record, "en_US"), 0);
    EXPECT_EQ(rpc_port_korvane_device_prov_info_set_country(record, "US"), 0);
    EXPECT_EQ(rpc_port_korvane_device_prov_info_set_datetime(record, "2026-11-21T10:00:00"), 0);
    EXPECT_EQ(rpc_port_korvane_device_prov_info_set_rmd(record, "phone-1"), 0);
    EXPECT_EQ(rpc_port_korvane_device_prov_info_set_account(record, "someone"), 0);
    return record;
}

rpc_port_korvane_language_info_h a_language(const char *language)
{
    rpc_port_korvane_language_info_h record = nullptr;
    EXPECT_EQ(rpc_port_korvane_language_info_create(&record), 0);
    EXPECT_EQ(rpc_port_korvane_language_info_set_language(record, language), 0);
    return record;
}

rpc_port_korvane_cloud_device_info_h a_cloud_device(const char *device_id)
{
    rpc_port_korvane_cloud_device_info_h record = nullptr;
    EXPECT_EQ(rpc_port_korvane_cloud_device_info_create(&record), 0);
    EXPECT_EQ(rpc_port_korvane_cloud_device_info_set_device_id(record, device_id), 0);
    return record;
}

rpc_port_korvane_last_status_info_h a_last_status()
{
    rpc_port_korvane_last_status_info_h record = nullptr;
    EXPECT_EQ(rpc_port_korvane_last_status_info_create(&record), 0);
    EXPECT_EQ(rpc_port_korvane_last_status_info_set_timestamp(record, 1700000000), 0);
    EXPECT_EQ(rpc_port_korvane_last_status_info_set_error_code(record, "E-12"), 0);
    return record;
}

rpc_port_korvane_platform_info_h a_platform()
{
    rpc_port_korvane_platform_info_h record = nullptr;
    EXPECT_EQ(rpc_port_korvane_platform_info_create(&record), 0);
    EXPECT_EQ(rpc_port_korvane_platform_info_set_model_number(record, "M-100"), 0);
    EXPECT_EQ(rpc_port_korvane_platform_info_set_platform_version(record, "6.5"), 0);
    return record;
}

rpc_port_korvane_cloud_info_h a_cloud()
{
    rpc_port_korvane_cloud_info_h record = nullptr;
    EXPECT_EQ(rpc_port_korvane_cloud_info_create(&record), 0);
    EXPECT_EQ(rpc_port_korvane_cloud_info_set_region(record, "eu-west-1"), 0);
    EXPECT_EQ(rpc_port_korvane_cloud_info_set_auth_provider(record, "provider"), 0);
    EXPECT_EQ(rpc_port_korvane_cloud_info_set_access_token(record, "access"), 0);
    EXPECT_EQ(rpc_port_korvane_cloud_info_set_refresh_token(record, "refresh"), 0);
    EXPECT_EQ(rpc_port_korvane_cloud_info_set_user_id(record, "user-7"), 0);
    EXPECT_EQ(rpc_port_korvane_cloud_info_set_client_id(record, "client-9"), 0);
    return record;
}

rpc_port_array_int_h numbers()
{
    rpc_port_array_int_h array = nullptr;
    EXPECT_EQ(rpc_port_array_int_create(&array), 0);
    const int items[] = {1, -2, 3};
    EXPECT_EQ(rpc_port_array_int_set_array_ints(array, items, 3), 0);
    return array;
}

rpc_port_array_korvane_ap_info_h aps()
{
    return filled<rpc_port_array_korvane_ap_info_create, rpc_port_array_korvane_ap_info_set_array_korvane_ap_infos,
                  rpc_port_korvane_ap_info_destroy>(std::array{an_ap("home"), an_ap("attic")});
}

rpc_port_array_korvane_language_info_h languages()
{
    return filled<rpc_port_array_korvane_language_info_create,
                  rpc_port_array_korvane_language_info_set_array_korvane_language_infos,
                  rpc_port_korvane_language_info_destroy>(std::array{a_language("en_US"), a_language("ko_KR")});
}

rpc_port_array_korvane_keepalive_info_h intervals()
{
    return filled<rpc_port_array_korvane_keepalive_info_create,
                  rpc_port_array_korvane_keepalive_info_set_array_korvane_keepalive_infos,
                  rpc_port_korvane_keepalive_info_destroy>(std::array{an_interval(60), an_interval(240)});
}

rpc_port_array_korvane_keepalive_index_info_h indexes()
{
    return filled<rpc_port_array_korvane_keepalive_index_info_create,
                  rpc_port_array_korvane_keepalive_index_info_set_array_korvane_keepalive_index_infos,
                  rpc_port_korvane_keepalive_index_info_destroy>(std::array{an_index(0), an_index(3)});
}

rpc_port_array_korvane_cloud_device_info_h cloud_devices()
{
    return filled<rpc_port_array_korvane_cloud_device_info_create,
                  rpc_port_array_korvane_cloud_device_info_set_array_korvane_cloud_device_infos,
                  rpc_port_korvane_cloud_device_info_destroy>(std::array{a_cloud_device("d-1"), a_cloud_device("d-2")});
}

std::string shown(int value)
{
    return std::to_string(value);
}

std::string shown(bool value)
{
    return value ? "true" : "false";
}

std::string shown(const char *value)
{
    return value ? "\"" + std::string(value) + "\"" : "none";
}

std::string shown(rpc_port_korvane_ap_info_h r)
{
    return "ap_info" + fields({shown(r->ssid), shown(r->pwd), shown(r->authtype), shown(r->enctype), shown(r->channel),
                               shown(r->bssid), shown(r->signal_level), shown(r->max_rate)});
}

std::string shown(rpc_port_korvane_keepalive_info_h r)
{
    return "keepalive_info" + fields({shown(r->interval)});
}

std::string shown(rpc_port_korvane_keepalive_index_info_h r)
{
    return "keepalive_index_info" + fields({shown(r->index)});
}

std::string shown(rpc_port_korvane_device_prov_info_h r)
{
    return "device_prov_info" +
           fields({shown(r->language), shown(r->country), shown(r->datetime), shown(r->rmd), shown(r->account)});
}

std::string shown(rpc_port_korvane_language_info_h r)
{
    return "language_info" + fields({shown(r->language)});
}

std::string shown(rpc_port_korvane_cloud_device_info_h r)
{
    return "cloud_device_info" + fields({shown(r->device_id)});
}

std::string shown(rpc_port_korvane_last_status_info_h r)
{
    return "last_status_info" + fields({shown(r->timestamp), shown(r->error_code)});
}

std::string shown(rpc_port_korvane_platform_info_h r)
{
    return "platform_info" + fields({shown(r->model_number), shown(r->platform_version)});
}

std::string shown(rpc_port_korvane_cloud_info_h r)
{
    return "cloud_info" + fields({shown(r->region), shown(r->auth_provider), shown(r->access_token),
                                  shown(r->refresh_token), shown(r->user_id), shown(r->client_id)});
}

} // namespace kv::test
