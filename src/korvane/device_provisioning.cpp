// SPDX-License-Identifier: Apache-2.0
#include "record_members.hpp"
#include "records.hpp"
#include "registration.hpp"

using namespace kv;
using namespace kv::api;

namespace {

/// The application reads the data also after its callback, so it is given a clone, which lives until the next event. An
/// event whose data cannot be cloned is dropped.
void _device_provisioning_cb(void *user_data, rpc_port_korvane_device_prov_info_h received)
{
    korvane_h handle = handle_of(user_data, Caller::here());
    if (!handle)
        return;
    DeviceProvisioningSlot &slot = handle->device_provisioning;
    slot.let_go();
    auto callback = slot.callback<0>();
    if (!callback)
        return;
    rpc_port_korvane_device_prov_info_h clone = nullptr;
    if (rpc_port_korvane_device_prov_info_clone(received, &clone) != 0)
        return;
    slot.held.record.reset(clone);
    callback(handle, &slot.held, slot.user_data);
}

using DeviceProvisioning = Registration<&korvane_s::device_provisioning, any_agent, master::set_device_provisioning_cb,
                                        master::unset_device_provisioning_cb, _device_provisioning_cb>;

using TextGetter = RecordGetter<rpc_port_korvane_device_prov_info_s, char *>;

constexpr TextGetter get_language{"rpc_port_korvane_device_prov_info_get_language",
                                  rpc_port_korvane_device_prov_info_get_language};
constexpr TextGetter get_country{"rpc_port_korvane_device_prov_info_get_country",
                                 rpc_port_korvane_device_prov_info_get_country};
constexpr TextGetter get_datetime{"rpc_port_korvane_device_prov_info_get_datetime",
                                  rpc_port_korvane_device_prov_info_get_datetime};
constexpr TextGetter get_rmd{"rpc_port_korvane_device_prov_info_get_rmd", rpc_port_korvane_device_prov_info_get_rmd};

int read(LocalCall &call, korvane_device_prov_info_h info, const TextGetter &getter, char **value)
{
    return call.passed() ? read_member(call, info->record.get(), getter, value) : call.result();
}

} // namespace

int korvane_set_device_provisioning_cb(korvane_h handle, korvane_device_provisioning_cb callback, void *user_data)
{
    return DeviceProvisioning::set(Caller::here(), handle, user_data, callback);
}

int korvane_unset_device_provisioning_cb(korvane_h handle)
{
    return DeviceProvisioning::unset(Caller::here(), handle);
}

int korvane_devinfo_get_language(korvane_device_prov_info_h info, char **language)
{
    LocalCall call{info, any_agent};
    call.require_given(language, "language");
    return read(call, info, get_language, language);
}

int korvane_devinfo_get_country(korvane_device_prov_info_h info, char **country)
{
    LocalCall call{info, any_agent};
    call.require_given(country, "country");
    return read(call, info, get_country, country);
}

int korvane_devinfo_get_datetime(korvane_device_prov_info_h info, char **datetime)
{
    LocalCall call{info, any_agent};
    call.require_given(datetime, "datetime");
    return read(call, info, get_datetime, datetime);
}

int korvane_devinfo_get_regist_mobile_device(korvane_device_prov_info_h info, char **rmd)
{
    LocalCall call{info, since(1, 1)};
    call.require_given(rmd, "rmd");
    return read(call, info, get_rmd, rmd);
}
