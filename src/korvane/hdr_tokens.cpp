// SPDX-License-Identifier: Apache-2.0
#include "json_members.hpp"
#include "one_shot_request.hpp"

using namespace kv;
using namespace kv::api;

namespace {

/// The handle is the document itself, seen from outside.
const cJSON *document_of(korvane_hdr_token_info_h handle)
{
    return reinterpret_cast<const cJSON *>(handle);
}

/// Both kinds of request are answered alike. The document lives as long as the callback runs.
template <class Callback>
void deliver_token(Answer &answer, int result, const char *text)
{
    Json token{cJSON_Parse(text)};
    answer.deliver<Callback>(result, reinterpret_cast<korvane_hdr_token_info_h>(token.get()));
}

void _create_hdr_token_info_cb(void *user_data, int result, const char *text)
{
    Answer answer{user_data};
    deliver_token<korvane_create_hdr_token_info_cb>(answer, result, text);
}

void _create_hdr_token_info_custom_cb(void *user_data, int result, const char *text)
{
    Answer answer{user_data};
    deliver_token<korvane_create_hdr_token_info_custom_cb>(answer, result, text);
}

template <FixedText Key, FixedText Name = Key, class Out>
int get_field(Caller caller, korvane_hdr_token_info_h handle, Out *out)
{
    return get_member<Key, Name, since(2, 1), document_of>(caller, handle, out);
}

} // namespace

int korvane_create_hdr_token_info(korvane_h handle, korvane_create_hdr_token_info_cb callback, void *user_data)
{
    AgentCall call{handle, since(2, 1)};
    if (!call.require_given(callback, "create_hdr_token_info_cb").ready())
        return call.result();

    return request_once<master::create_hdr_token_info, _create_hdr_token_info_cb>(call, callback, user_data);
}

int korvane_create_hdr_token_info_custom(korvane_h handle, const char *request_data_json_str,
                                         korvane_create_hdr_token_info_custom_cb callback, void *user_data)
{
    AgentCall call{handle, since(2, 3)};
    if (!call.require(request_data_json_str != nullptr, "Input param is NULL, request_data_json_str=[%p]"_fmt,
                      request_data_json_str)
             .require_given(callback, "create_hdr_token_info_custom_cb")
             .ready())
        return call.result();

    return request_once<master::create_hdr_token_info_custom, _create_hdr_token_info_custom_cb>(
        call, callback, user_data, request_data_json_str);
}

int korvane_hdr_token_info_get_uuid(korvane_hdr_token_info_h token_info, char **uuid)
{
    return get_field<"uuid">(Caller::here(), token_info, uuid);
}

int korvane_hdr_token_info_get_server_name(korvane_hdr_token_info_h token_info, char **server_name)
{
    return get_field<"server_name">(Caller::here(), token_info, server_name);
}

int korvane_hdr_token_info_get_server_url(korvane_hdr_token_info_h token_info, char **server_url)
{
    return get_field<"server_url">(Caller::here(), token_info, server_url);
}

int korvane_hdr_token_info_get_expiration_time(korvane_hdr_token_info_h token_info, int *expiration_time)
{
    return get_field<"expiration_time">(Caller::here(), token_info, expiration_time);
}

int korvane_hdr_token_info_get_token(korvane_hdr_token_info_h token_info, char **token)
{
    // The document's own name for it; a member "token" would be something else.
    return get_field<"access_token", "token">(Caller::here(), token_info, token);
}
