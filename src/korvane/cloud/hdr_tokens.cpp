// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/json_members.hpp"
#include "src/korvane/core/events/one_shot_request.hpp"

using namespace kv;
using namespace kv::api;

namespace {

namespace token = master::documents::token;

/// The handle is the document itself under an opaque type.
const cJSON *document_of(const void *handle)
{
    return static_cast<const cJSON *>(handle);
}

/// Both kinds of request are completed alike. The document exists while the callback runs.
template <class Callback>
void deliver_token(CompletedRequest &request, int result, const char *text)
{
    const Json document = parse_document(text);
    request.deliver<Callback, "result [%d]">(result, reinterpret_cast<korvane_hdr_token_info_h>(document.get()));
}

void _create_hdr_token_info_cb(void *user_data, int result, const char *text)
{
    CompletedRequest request{user_data};
    deliver_token<korvane_create_hdr_token_info_cb>(request, result, text);
}

void _create_hdr_token_info_custom_cb(void *user_data, int result, const char *text)
{
    CompletedRequest request{user_data};
    deliver_token<korvane_create_hdr_token_info_custom_cb>(request, result, text);
}

constexpr JsonField uuid_field{token::uuid.key, "uuid", since(2, 1)};
constexpr JsonField server_name_field{token::server_name.key, "server_name", since(2, 1)};
constexpr JsonField server_url_field{token::server_url.key, "server_url", since(2, 1)};
constexpr JsonField expiration_time_field{token::expiration_time.key, "expiration_time", since(2, 1)};
constexpr JsonField token_field{token::access_token.key, "token", since(2, 1)};

} // namespace

int korvane_create_hdr_token_info(korvane_h handle, korvane_create_hdr_token_info_cb callback, void *user_data)
{
    AgentCall call{handle, since(2, 1)};
    call.require_given(callback, "create_hdr_token_info_cb");
    return request_once<master::create_hdr_token_info, _create_hdr_token_info_cb>(call.ready(), callback, user_data);
}

int korvane_create_hdr_token_info_custom(korvane_h handle, const char *request_data_json_str,
                                         korvane_create_hdr_token_info_custom_cb callback, void *user_data)
{
    AgentCall call{handle, since(2, 3)};
    call.require(request_data_json_str != nullptr, "Input param is NULL, request_data_json_str=[%p]"_fmt,
                 request_data_json_str)
        .require_given(callback, "create_hdr_token_info_custom_cb");
    return request_once<master::create_hdr_token_info_custom, _create_hdr_token_info_custom_cb>(
        call.ready(), callback, user_data, request_data_json_str);
}

int korvane_hdr_token_info_get_uuid(korvane_hdr_token_info_h token_info, char **uuid)
{
    return get_member(Caller::here(), token_info, document_of, uuid_field, uuid);
}

int korvane_hdr_token_info_get_server_name(korvane_hdr_token_info_h token_info, char **server_name)
{
    return get_member(Caller::here(), token_info, document_of, server_name_field, server_name);
}

int korvane_hdr_token_info_get_server_url(korvane_hdr_token_info_h token_info, char **server_url)
{
    return get_member(Caller::here(), token_info, document_of, server_url_field, server_url);
}

int korvane_hdr_token_info_get_expiration_time(korvane_hdr_token_info_h token_info, int *expiration_time)
{
    return get_member(Caller::here(), token_info, document_of, expiration_time_field, expiration_time);
}

int korvane_hdr_token_info_get_token(korvane_hdr_token_info_h token_info, char **token)
{
    return get_member(Caller::here(), token_info, document_of, token_field, token);
}
