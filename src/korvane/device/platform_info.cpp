// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/json_members.hpp"
#include "src/korvane/core/documents/versioned_text.hpp"
#include "src/korvane_master_proxy/records.hpp"

using namespace kv;
using namespace kv::api;

struct korvane_platform_info_s : VersionedHandle<rpc_port_korvane_platform_info_s, since(1, 2)> {
    using VersionedHandle::VersionedHandle;
};

namespace {

namespace document = master::documents::platform_info;

template <int (*Set)(rpc_port_korvane_platform_info_h record, const char *value)>
constexpr auto in_record = set_record_text<rpc_port_korvane_platform_info_s, Set>;

constexpr TextField model_number{"model_number", since(1, 1), document::model_number.key,
                                 in_record<rpc_port_korvane_platform_info_set_model_number>};
constexpr TextField platform_version{"platform_version", since(1, 1), document::platform_version.key,
                                     in_record<rpc_port_korvane_platform_info_set_platform_version>};
constexpr TextField vendor_id{"vid", since(1, 2), document::vendor_id.key};
constexpr TextField manufacture_date{"mf_date", document::manufacture_date.since, document::manufacture_date.key};
constexpr TextField firmware_version{"firmware_version", document::firmware_version.since,
                                     document::firmware_version.key};

constexpr RecordMaker record_maker{
    create_record_with<rpc_port_korvane_platform_info_create, rpc_port_korvane_platform_info_s>,
    "rpc_port_korvane_platform_info_create"};

constexpr int device_itself = 0;

} // namespace

int korvane_platforminfo_create(korvane_platform_info_h *platform_info)
{
    LocalCall call{platform_info, since(1, 1)};
    if (!call.passed())
        return call.result();

    return create_versioned(call, platform_info, record_maker);
}

int korvane_platforminfo_destroy(korvane_platform_info_h platform_info)
{
    LocalCall call{platform_info, since(1, 1)};
    if (call.passed())
        destroy(platform_info);
    return call.result();
}

int korvane_platforminfo_set_model_number(korvane_platform_info_h platform_info, const char *value)
{
    return set_versioned_text(Caller::here(), platform_info, model_number, value);
}

int korvane_platforminfo_set_platform_version(korvane_platform_info_h platform_info, const char *value)
{
    return set_versioned_text(Caller::here(), platform_info, platform_version, value);
}

int korvane_platforminfo_set_vendor_id(korvane_platform_info_h platform_info, const char *value)
{
    return set_versioned_text(Caller::here(), platform_info, vendor_id, value);
}

int korvane_platforminfo_set_manufacture_date(korvane_platform_info_h platform_info, const char *value)
{
    return set_versioned_text(Caller::here(), platform_info, manufacture_date, value);
}

int korvane_platforminfo_set_firmware_version(korvane_platform_info_h platform_info, const char *value)
{
    return set_versioned_text(Caller::here(), platform_info, firmware_version, value);
}

int korvane_set_platform_info(korvane_h handle, korvane_platform_info_h platform_info)
{
    AgentCall call{handle, since(1, 1)};
    call.require_given(platform_info, "platform_info_h");
    require_agents_format(call, platform_info);
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    if (platform_info->format == WireFormat::record)
        return ready.invoke<master::set_platform_info>(platform_info->record());
    return invoke_with_json<master::set_platform_info_with_device_no>(ready, platform_info->json.get(), device_itself);
}

int korvane_set_platform_info_with_device_no(korvane_h handle, korvane_platform_info_h platform_info, int device_no)
{
    // From this version on every handle of the right format holds a document.
    AgentCall call{handle, since(1, 2)};
    call.require_given(platform_info, "platform_info_h")
        .require(device_no >= 0, "Invalid device_no : [%d]"_fmt, device_no);
    require_agents_format(call, platform_info);
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    return invoke_with_json<master::set_platform_info_with_device_no>(ready, platform_info->json.get(), device_no);
}
