// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/json_handle.hpp"
#include "src/korvane/core/events/event.hpp"

using namespace kv;
using namespace kv::api;

struct korvane_tnc_info_s : JsonHandle {
    static constexpr int minimum = since(1, 3);
    static constexpr const char *object_name = "tnc_json";
};

namespace {

constexpr JsonField version_field{master::documents::terms::version.key, "version", since(1, 3)};
constexpr JsonField header_field{master::documents::terms::header.key, "header", since(1, 3)};

using TncResult = RegistrationOf<master::events::tnc_result, "callback is NULL",
                                 PlainEvent<korvane_tnc_result_cb, "result length [%d]">>;

} // namespace

int korvane_set_tnc_result_cb(korvane_h handle, korvane_tnc_result_cb callback, void *user_data)
{
    return TncResult::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_tnc_result_cb(korvane_h handle)
{
    return TncResult::unset(Caller::here(), handle);
}

int korvane_tnc_info_create(korvane_tnc_info_h *tnc_info)
{
    return create_json_handle(Caller::here(), tnc_info);
}

int korvane_tnc_info_destroy(korvane_tnc_info_h tnc_info)
{
    return destroy_json_handle(Caller::here(), tnc_info);
}

int korvane_tncinfo_set_version(korvane_tnc_info_h tnc_info, const char *version)
{
    if (int code = set_json_text(Caller::here(), tnc_info, version_field, version))
        return code;
    log::info()("version [%s]"_fmt, version);
    return KORVANE_ERROR_NONE;
}

int korvane_tncinfo_set_header(korvane_tnc_info_h tnc_info, const char *header)
{
    return set_json_text(Caller::here(), tnc_info, header_field, header);
}

int korvane_set_tnc_info(korvane_h handle, korvane_tnc_info_h tnc_info)
{
    AgentCall call{handle, since(1, 3)};
    ReadyCall &ready = call.require_given(tnc_info, "tnc_info_h").ready();
    if (!ready || !has_object(ready, tnc_info))
        return ready.result();

    return invoke_with_json<master::set_tnc_data>(ready, tnc_info->object.get());
}

int korvane_set_tnc_url(korvane_h handle, const char *url)
{
    AgentCall call{handle, since(1, 4)};
    call.require_given(url, "url");
    return call.ready().invoke<master::set_tnc_url>(url);
}

int korvane_set_tnc_type(korvane_h handle, unsigned int type)
{
    AgentCall call{handle, since(1, 4)};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    log::info()("type [0x%x]"_fmt, type);
    return ready.invoke<master::set_tnc_type>(static_cast<int>(type));
}

int korvane_set_tnc_status(korvane_h handle, int status)
{
    AgentCall call{handle, since(1, 3)};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    log::info()("status [%d]"_fmt, status);
    return ready.invoke<master::set_tnc_status>(status);
}
