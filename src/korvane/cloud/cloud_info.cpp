// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/command_document.hpp"
#include "src/korvane/core/documents/versioned_text.hpp"
#include "src/korvane_master_proxy/records.hpp"

using namespace kv;
using namespace kv::api;

struct korvane_cloud_info_s : VersionedHandle<rpc_port_korvane_cloud_info_s, since(2, 0)> {
    using VersionedHandle::VersionedHandle;
};

namespace {

namespace document = master::commands::sign_up_cloud;

template <int (*Set)(rpc_port_korvane_cloud_info_h record, const char *value)>
constexpr auto in_record = set_record_text<rpc_port_korvane_cloud_info_s, Set>;

constexpr TextField region{"region", any_agent, document::region.key,
                           in_record<rpc_port_korvane_cloud_info_set_region>};
constexpr TextField auth_provider{"auth_provider", any_agent, document::auth_provider.key,
                                  in_record<rpc_port_korvane_cloud_info_set_auth_provider>};
constexpr TextField access_token{"access_token", any_agent, document::access_token.key,
                                 in_record<rpc_port_korvane_cloud_info_set_access_token>};
constexpr TextField refresh_token{"refresh_token", any_agent, document::refresh_token.key,
                                  in_record<rpc_port_korvane_cloud_info_set_refresh_token>};
constexpr TextField user_id{"user_id", any_agent, document::user_id.key,
                            in_record<rpc_port_korvane_cloud_info_set_user_id>};
constexpr TextField client_id{"client_id", any_agent, document::client_id.key,
                              in_record<rpc_port_korvane_cloud_info_set_client_id>};
constexpr TextField ci_server{"ci_server", since(2, 0), document::ci_server.key};
constexpr TextField deploy_env{"deploy_env", since(2, 0), document::deploy_env.key};

constexpr RecordMaker record_maker{
    create_record_with<rpc_port_korvane_cloud_info_create, rpc_port_korvane_cloud_info_s>,
    "rpc_port_korvane_cloud_info_create"};

} // namespace

int korvane_cloudinfo_create(korvane_cloud_info_h *cloud_info)
{
    LocalCall call{cloud_info, any_agent};
    if (!call.passed())
        return call.result();

    return create_versioned(call, cloud_info, record_maker);
}

int korvane_cloudinfo_destroy(korvane_cloud_info_h cloud_info)
{
    LocalCall call{cloud_info, any_agent};
    if (call.passed())
        destroy(cloud_info);
    return call.result();
}

int korvane_cloudinfo_set_region(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_versioned_text(Caller::here(), cloud_info, region, value);
}

int korvane_cloudinfo_set_auth_provider(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_versioned_text(Caller::here(), cloud_info, auth_provider, value);
}

int korvane_cloudinfo_set_access_token(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_versioned_text(Caller::here(), cloud_info, access_token, value);
}

int korvane_cloudinfo_set_refresh_token(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_versioned_text(Caller::here(), cloud_info, refresh_token, value);
}

int korvane_cloudinfo_set_user_id(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_versioned_text(Caller::here(), cloud_info, user_id, value);
}

int korvane_cloudinfo_set_client_id(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_versioned_text(Caller::here(), cloud_info, client_id, value);
}

int korvane_cloudinfo_set_cloud_interface_server(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_versioned_text(Caller::here(), cloud_info, ci_server, value);
}

int korvane_cloudinfo_set_deploy_environment(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_versioned_text(Caller::here(), cloud_info, deploy_env, value);
}

int korvane_cloudinfo_set_token_type(korvane_cloud_info_h cloud_info, unsigned int type)
{
    LocalCall call{cloud_info, since(2, 0)};
    if (!require_agents_format(call, cloud_info))
        return call.result();

    // It is added, not replaced like the texts: the agent receives every type that was set.
    const bool added = cJSON_AddNumberToObject(cloud_info->json.get(), document::token_type.key, type) != nullptr;
    return call.require_memory(added).result();
}

int korvane_sign_up_cloud(korvane_h handle, korvane_cloud_info_h cloud_info)
{
    AgentCall call{handle, any_agent};
    call.require_given(cloud_info, "cloud_info_h");
    require_agents_format(call, cloud_info);
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    if (cloud_info->format == WireFormat::record)
        return ready.invoke<master::signup_cloud>(cloud_info->record());

    // The command number stays in the application's document: the next sign-up with it sends one more.
    cJSON *request = cloud_info->json.get();
    const bool whole = add_command(request, document::command.number);
    return invoke_command(ready, request, whole);
}
