// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/events/event.hpp"
#include "src/korvane/core/values/record_members.hpp"
#include "src/korvane_master_proxy/records.hpp"

/// The event with the data of device provisioning, and the getters of that data. The strings are names in log lines, which
/// do not change.

using namespace kv;
using namespace kv::api;

namespace {

/// The application may read the data after its callback, too, so it receives a clone, which exists until the next event.
/// An event whose data cannot be cloned is dropped.
void _device_provisioning_cb(void *user_data, rpc_port_korvane_device_prov_info_h received)
{
    log::info()("language [%s], country [%s], datetime [%s]"_fmt, received->language.get(), received->country.get(),
                received->datetime.get());
    const RegisteredDelegate *delegate = delegate_of(user_data);
    if (!delegate)
        return;
    korvane_device_prov_info_s &info = delegate->session->event_data.device_prov_info;
    info.record.reset();
    rpc_port_korvane_device_prov_info_h clone = nullptr;
    if (!delegate->app_callback || rpc_port_korvane_device_prov_info_clone(received, &clone) != 0)
        return;
    info.record.reset(clone);
    deliver<korvane_device_provisioning_cb>(user_data, Caller::here(), &info);
}

using DeviceProvisioning =
    RegistrationOf<master::events::device_provisioning, "callback is NULL",
                   ConvertedEvent<korvane_device_provisioning_cb, _device_provisioning_cb,
                                  [](EventData &data) { data.device_prov_info.record.reset(); }>>;

/// A text of the data: the out argument's name for the log, the lowest agent version that knows it, and its getter.
struct Text {
    const char *name;
    int minimum;
    RecordGetter<rpc_port_korvane_device_prov_info_s, char *> getter;
};

constexpr Text language_text{
    "language",
    any_agent,
    {"rpc_port_korvane_device_prov_info_get_language", rpc_port_korvane_device_prov_info_get_language}};
constexpr Text country_text{
    "country",
    any_agent,
    {"rpc_port_korvane_device_prov_info_get_country", rpc_port_korvane_device_prov_info_get_country}};
constexpr Text datetime_text{
    "datetime",
    any_agent,
    {"rpc_port_korvane_device_prov_info_get_datetime", rpc_port_korvane_device_prov_info_get_datetime}};
/// The registering mobile device.
constexpr Text rmd_text{
    "rmd", since(1, 1), {"rpc_port_korvane_device_prov_info_get_rmd", rpc_port_korvane_device_prov_info_get_rmd}};

/// Stores a copy of the text, which the application frees. On failure `value` is unchanged.
int read(Caller caller, korvane_device_prov_info_h info, const Text &text, char **value)
{
    LocalCall call{info, text.minimum, caller};
    if (!call.require_given(value, text.name).passed())
        return call.result();
    return read_member(call, info->record.get(), text.getter, value);
}

} // namespace

int korvane_set_device_provisioning_cb(korvane_h handle, korvane_device_provisioning_cb callback, void *user_data)
{
    return DeviceProvisioning::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_device_provisioning_cb(korvane_h handle)
{
    return DeviceProvisioning::unset(Caller::here(), handle);
}

int korvane_devinfo_get_language(korvane_device_prov_info_h info, char **language)
{
    return read(Caller::here(), info, language_text, language);
}

int korvane_devinfo_get_country(korvane_device_prov_info_h info, char **country)
{
    return read(Caller::here(), info, country_text, country);
}

int korvane_devinfo_get_datetime(korvane_device_prov_info_h info, char **datetime)
{
    return read(Caller::here(), info, datetime_text, datetime);
}

int korvane_devinfo_get_regist_mobile_device(korvane_device_prov_info_h info, char **rmd)
{
    return read(Caller::here(), info, rmd_text, rmd);
}
