// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/events/event.hpp"

/// Messages that device and phone exchange through the agent during the setup, beside access point, device data and languages.

using namespace kv;
using namespace kv::api;

namespace {

using ProvisioningVendorInfo =
    RegistrationOf<master::events::provisioning_vendor_info, "prov_vendor_info_cb is NULL",
                   PlainEvent<korvane_provisioning_vendor_info_cb, "value [%d], text length [%d]">>;

using OtmSupportFeature = RegistrationOf<master::events::otm_support_feature, "otm_support_feature_cb is NULL",
                                         PlainEvent<korvane_otm_support_feature_cb, "feature [%d]">>;

using ProvisioningGetRequested =
    RegistrationOf<master::events::provisioning_get_requested, "callback is NULL",
                   PlainEvent<korvane_provisioning_get_requested_cb, "text length [%d], value [%d]">>;

} // namespace

int korvane_set_provisioning_vendor_info(korvane_h handle, const char *prov_json_str)
{
    AgentCall call{handle, since(1, 3)};
    call.require_given(prov_json_str, "prov_json_str");
    return call.ready().invoke<master::set_provisioning_vendor_info>(prov_json_str);
}

int korvane_set_wifi_connection_error_code(korvane_h handle, int error_code)
{
    AgentCall call{handle, since(1, 3)};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    log::info()("error_code [%d]"_fmt, error_code);
    return ready.invoke<master::set_wifi_connection_error_code>(error_code);
}

int korvane_set_sso_list(korvane_h handle, const char *sso_list)
{
    AgentCall call{handle, since(1, 3)};
    call.require_given(sso_list, "sso_list");
    return call.ready().invoke<master::set_sso_list>(sso_list);
}

int korvane_set_easysetup_version_info(korvane_h handle, const char *es_version_info)
{
    AgentCall call{handle, since(1, 3)};
    ReadyCall &ready = call.require_given(es_version_info, "es_version_info").ready();
    if (!ready)
        return ready.result();

    log::info()("es_version_info [%s]"_fmt, es_version_info);
    return ready.invoke<master::set_easysetup_version_info>(es_version_info);
}

int korvane_set_provisioning_vendor_info_cb(korvane_h handle, korvane_provisioning_vendor_info_cb callback,
                                            void *user_data)
{
    return ProvisioningVendorInfo::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_provisioning_vendor_info_cb(korvane_h handle)
{
    return ProvisioningVendorInfo::unset(Caller::here(), handle);
}

int korvane_set_otm_support_feature_cb(korvane_h handle, korvane_otm_support_feature_cb callback, void *user_data)
{
    return OtmSupportFeature::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_otm_support_feature_cb(korvane_h handle)
{
    return OtmSupportFeature::unset(Caller::here(), handle);
}

int korvane_set_provisioning_get_requested_cb(korvane_h handle, korvane_provisioning_get_requested_cb callback,
                                              void *user_data)
{
    return ProvisioningGetRequested::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_provisioning_get_requested_cb(korvane_h handle)
{
    return ProvisioningGetRequested::unset(Caller::here(), handle);
}
