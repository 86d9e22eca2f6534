// SPDX-License-Identifier: Apache-2.0
#include "common_interface.hpp"
#include "records.hpp"
#include "two_form_setter.hpp"

using namespace kv;
using namespace kv::api;

struct korvane_cloud_info_s : TwoForm<rpc_port_korvane_cloud_info_s, since(2, 0)> {
    using TwoForm::TwoForm;
};

namespace {

using Text = TextField<korvane_cloud_info_s>;

constexpr Text region{"region", rpc_port_korvane_cloud_info_set_region};
constexpr Text auth_provider{"auth_provider", rpc_port_korvane_cloud_info_set_auth_provider};
constexpr Text access_token{"access_token", rpc_port_korvane_cloud_info_set_access_token};
constexpr Text refresh_token{"refresh_token", rpc_port_korvane_cloud_info_set_refresh_token};
constexpr Text user_id{"user_id", rpc_port_korvane_cloud_info_set_user_id};
constexpr Text client_id{"client_id", rpc_port_korvane_cloud_info_set_client_id};
constexpr Text ci_server{"ci_server"};
constexpr Text deploy_env{"deploy_env"};

} // namespace

int korvane_cloudinfo_create(korvane_cloud_info_h *cloud_info)
{
    LocalCall call{cloud_info, any_agent};
    if (!call.passed())
        return call.result();

    return create_two_form(call, cloud_info, rpc_port_korvane_cloud_info_create, "rpc_port_korvane_cloud_info_create");
}

int korvane_cloudinfo_destroy(korvane_cloud_info_h cloud_info)
{
    LocalCall call{cloud_info, any_agent};
    if (call.passed())
        proxy::destroy(cloud_info);
    return call.result();
}

int korvane_cloudinfo_set_region(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_two_form_text<"region">(Caller::here(), cloud_info, any_agent, region, value);
}

int korvane_cloudinfo_set_auth_provider(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_two_form_text<"auth_provider">(Caller::here(), cloud_info, any_agent, auth_provider, value);
}

int korvane_cloudinfo_set_access_token(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_two_form_text<"access_token">(Caller::here(), cloud_info, any_agent, access_token, value);
}

int korvane_cloudinfo_set_refresh_token(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_two_form_text<"refresh_token">(Caller::here(), cloud_info, any_agent, refresh_token, value);
}

int korvane_cloudinfo_set_user_id(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_two_form_text<"user_id">(Caller::here(), cloud_info, any_agent, user_id, value);
}

int korvane_cloudinfo_set_client_id(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_two_form_text<"client_id">(Caller::here(), cloud_info, any_agent, client_id, value);
}

int korvane_cloudinfo_set_cloud_interface_server(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_two_form_text<"ci_server">(Caller::here(), cloud_info, since(2, 0), ci_server, value);
}

int korvane_cloudinfo_set_deploy_environment(korvane_cloud_info_h cloud_info, const char *value)
{
    return set_two_form_text<"deploy_env">(Caller::here(), cloud_info, since(2, 0), deploy_env, value);
}

int korvane_cloudinfo_set_token_type(korvane_cloud_info_h cloud_info, unsigned int type)
{
    LocalCall call{cloud_info, since(2, 0)};
    if (!in_agents_form(call, cloud_info))
        return call.result();

    // Unlike the texts it is added, not replaced: the agent sees every type that was set.
    const bool added = cJSON_AddNumberToObject(cloud_info->json.get(), "iatt", type) != nullptr;
    return call.require(added, KORVANE_ERROR_OUT_OF_MEMORY, "Memory allocation is failed"_fmt).result();
}

int korvane_sign_up_cloud(korvane_h handle, korvane_cloud_info_h cloud_info)
{
    AgentCall call{handle, any_agent};
    call.require_given(cloud_info, "cloud_info_h");
    if (!in_agents_form(call, cloud_info) || !call.ready())
        return call.result();

    if (cloud_info->form == Form::record)
        return call.invoke<master::signup_cloud>(cloud_info->record.get());

    // The command stays in the application's object: the next sign-up with it carries it once more.
    if (!call.require(add_command(cloud_info->json.get(), Command::sign_up_cloud), KORVANE_ERROR_OUT_OF_MEMORY,
                      "Memory allocation is failed"_fmt)
             .passed())
        return call.result();
    return invoke_common_interface(call, cloud_info->json.get());
}
