// SPDX-License-Identifier: Apache-2.0
#include "cloud_device.hpp"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>

namespace kv::test {

namespace {

std::string number(int value)
{
    return std::to_string(value);
}

void add_event(void *data, const std::string &what)
{
    static_cast<CloudDevice *>(data)->received.push_back(what);
}

std::string taken(char *text)
{
    std::string copy = text ? text : "";
    std::free(text);
    return copy;
}

/// The value that the callback of a one-shot request sets.
template <class Answer>
using Awaited = std::optional<Answer>;

template <class Answer>
Answer wait_for(const Awaited<Answer> &answer)
{
    run_main_loop_until([&] { return answer.has_value(); });
    return answer.value_or(Answer{});
}

std::string text_in(korvane_hdr_token_info_h info, int (*get)(korvane_hdr_token_info_h, char **))
{
    char *text = nullptr;
    return get(info, &text) == KORVANE_ERROR_NONE ? taken(text) : "";
}

void take_token(korvane_h, int result, korvane_hdr_token_info_h info, void *data)
{
    CloudDevice::Token token;
    token.result = result;
    token.uuid = text_in(info, korvane_hdr_token_info_get_uuid);
    token.server_url = text_in(info, korvane_hdr_token_info_get_server_url);
    token.text = text_in(info, korvane_hdr_token_info_get_token);
    korvane_hdr_token_info_get_expiration_time(info, &token.expiration_time);
    static_cast<Awaited<CloudDevice::Token> *>(data)->emplace(token);
}

} // namespace

CloudDevice::CloudDevice(const std::string &agent_version)
    : version(1000 * (agent_version[0] - '0') + (agent_version[2] - '0'))
{
}

bool CloudDevice::listen()
{
    int result = KORVANE_ERROR_NONE;
    const auto also = [&](int since, int registered) {
        const int expected = version >= since ? KORVANE_ERROR_NONE : KORVANE_ERROR_AGENT_VERSION_LOWER;
        EXPECT_EQ(registered, expected) << "since " << since;
        result = registered == expected ? result : registered;
    };
    also(1004, korvane_set_signup_status_changed_cb(
                   handle(), [](korvane_h, bool status, void *data) { add_event(data, "signed up " + number(status)); },
                   this));
    also(1004, korvane_set_signin_status_changed_cb(
                   handle(), [](korvane_h, bool status, void *data) { add_event(data, "signed in " + number(status)); },
                   this));
    also(1004,
         korvane_set_tcp_session_disconnected_cb(
             handle(), [](korvane_h, int code, void *data) { add_event(data, "session lost " + number(code)); }, this));
    also(1004,
         korvane_set_keepalive_result_cb(
             handle(), [](korvane_h, int code, void *data) { add_event(data, "keep-alive " + number(code)); }, this));
    also(2002, korvane_set_diagnostics_cb(
                   handle(),
                   [](korvane_h, int value, const char *text, void *data) {
                       add_event(data, "diagnostics " + number(value) + " " + text);
                   },
                   this));
    also(1001, korvane_set_cloud_device_list_cb(
                   handle(),
                   [](korvane_h, const char *const *ids, int count, void *data) {
                       static_cast<CloudDevice *>(data)->device_ids.assign(ids, ids + count);
                   },
                   this));
    return result == KORVANE_ERROR_NONE;
}

int CloudDevice::sign_up(const char *access_token)
{
    korvane_cloud_info_h info = nullptr;
    EXPECT_EQ(korvane_cloudinfo_create(&info), KORVANE_ERROR_NONE);
    korvane_cloudinfo_set_region(info, "eu");
    korvane_cloudinfo_set_user_id(info, "ann");
    if (access_token)
        korvane_cloudinfo_set_access_token(info, access_token);
    const int result = korvane_sign_up_cloud(handle(), info);
    korvane_cloudinfo_destroy(info);
    return result;
}

CloudDevice::Certificate CloudDevice::create_certificate(const std::string &type, const std::string &request)
{
    Awaited<Certificate> answer;
    EXPECT_EQ(korvane_create_hdr_certificate(
                  handle(), type.c_str(), request.c_str(),
                  [](korvane_h, int result, const char *text, void *data) {
                      static_cast<Awaited<Certificate> *>(data)->emplace(Certificate{result, text});
                  },
                  &answer),
              KORVANE_ERROR_NONE);
    return wait_for(answer);
}

CloudDevice::Certificate CloudDevice::get_certificate(const std::string &type, const std::string &id)
{
    Awaited<Certificate> answer;
    EXPECT_EQ(korvane_get_hdr_certificate(
                  handle(), type.c_str(), id.c_str(),
                  [](korvane_h, int result, const char *text1, const char *text2, void *data) {
                      static_cast<Awaited<Certificate> *>(data)->emplace(Certificate{result, text1, text2});
                  },
                  &answer),
              KORVANE_ERROR_NONE);
    return wait_for(answer);
}

CloudDevice::Token CloudDevice::token(const char *request_data)
{
    Awaited<Token> answer;
    EXPECT_EQ(request_data ? korvane_create_hdr_token_info_custom(handle(), request_data, take_token, &answer)
                           : korvane_create_hdr_token_info(handle(), take_token, &answer),
              KORVANE_ERROR_NONE);
    return wait_for(answer);
}

std::string CloudDevice::group_id()
{
    Awaited<std::string> answer;
    const int asked = korvane_get_group_id(
        handle(),
        [](korvane_h, const char *group, void *data) { static_cast<Awaited<std::string> *>(data)->emplace(group); },
        &answer);
    return asked == KORVANE_ERROR_NONE ? wait_for(answer) : "";
}

std::string CloudDevice::member(const std::string &document, const std::string &name)
{
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> parsed{cJSON_Parse(document.c_str()), cJSON_Delete};
    const auto look = [&name](const cJSON *object) {
        return cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(object, name.c_str()));
    };
    const char *found = look(parsed.get());
    for (const cJSON *inner = parsed ? parsed->child : nullptr; inner && !found; inner = inner->next)
        found = look(inner);
    return found ? found : "";
}

} // namespace kv::test
