// SPDX-License-Identifier: Apache-2.0
#include "json_members.hpp"

namespace kv::api {

namespace {

bool is_there(Preamble &call, const cJSON *member)
{
    return call.require(member != nullptr, KORVANE_ERROR_OPERATION_FAILED, "cJSON_GetObjectItem() failed"_fmt).passed();
}

template <class Out>
int get(Caller caller, const void *handle, DocumentOf document_of, const JsonField &field, Out *out)
{
    LocalCall call{handle, field.minimum, caller};
    if (!call.require_given(out, field.name).passed())
        return call.result();
    return hand_out(call, cJSON_GetObjectItem(document_of(handle), field.key), out);
}

} // namespace

int hand_out(Preamble &call, const cJSON *member, char **out)
{
    if (!is_there(call, member))
        return call.result();
    const char *text = cJSON_GetStringValue(member);
    CText copy = CText::copy(text);
    if (call.require_memory(copy || !text).passed())
        *out = copy.release();
    return call.result();
}

int hand_out(Preamble &call, const cJSON *member, int *out)
{
    // valueint is limited to the range of an int.
    if (is_there(call, member))
        *out = member->valueint;
    return call.result();
}

int get_member(Caller caller, const void *handle, DocumentOf document_of, const JsonField &field, char **out)
{
    return get(caller, handle, document_of, field, out);
}

int get_member(Caller caller, const void *handle, DocumentOf document_of, const JsonField &field, int *out)
{
    return get(caller, handle, document_of, field, out);
}

} // namespace kv::api
