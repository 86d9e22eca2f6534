// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/events/one_shot_request.hpp"

using namespace kv;
using namespace kv::api;

namespace {

void _create_hdr_certificate_cb(void *user_data, int result, const char *text)
{
    CompletedRequest request{user_data};
    request.deliver<korvane_create_hdr_certificate_cb, "result [%d]">(result, text);
}

void _get_hdr_certificate_cb(void *user_data, int result, const char *text1, const char *text2)
{
    CompletedRequest request{user_data};
    request.deliver<korvane_get_hdr_certificate_cb, "result [%d]">(result, text1, text2);
}

} // namespace

int korvane_create_hdr_certificate(korvane_h handle, const char *device_type, const char *csr,
                                   korvane_create_hdr_certificate_cb callback, void *user_data)
{
    AgentCall call{handle, since(2, 1)};
    call.require(device_type && csr, "Input param is NULL, device_type=[%p], csr=[%p]"_fmt, device_type, csr)
        .require_given(callback, "create_hdr_certificate_cb");
    return request_once<master::create_hdr_certificate, _create_hdr_certificate_cb>(call.ready(), callback, user_data,
                                                                                    device_type, csr);
}

int korvane_get_hdr_certificate(korvane_h handle, const char *device_type, const char *certificate_arn,
                                korvane_get_hdr_certificate_cb callback, void *user_data)
{
    AgentCall call{handle, since(2, 1)};
    call.require(device_type && certificate_arn, "Input param is NULL, device_type=[%p], certificate_arn=[%p]"_fmt,
                 device_type, certificate_arn)
        .require_given(callback, "get_hdr_certificate_cb");
    return request_once<master::get_hdr_certificate, _get_hdr_certificate_cb>(call.ready(), callback, user_data,
                                                                              device_type, certificate_arn);
}
