// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/json_members.hpp"
#include "src/korvane/core/events/one_shot_request.hpp"
#include "src/korvane/core/values/zeroed_array.hpp"
#include "src/korvane_master_proxy/arrays.hpp"

using namespace kv;
using namespace kv::api;

/// The presence of one sub-device, in a list that the application releases.
struct korvane_sub_dev_prs_s {
    CText device_id;
    int presence = 0;
};

namespace {

/// Items may be null.
void destroy_items(korvane_sub_dev_prs_h *items, int count)
{
    for (int i = 0; i < count; ++i)
        if (items[i])
            destroy(items[i]);
}

/// Owns a list until it is released to the application.
class PresenceList {
public:
    explicit PresenceList(int count) : items_(count), count_(count) {}
    ~PresenceList()
    {
        if (items_)
            destroy_items(items_.get(), count_);
    }

    explicit operator bool() const { return bool(items_); }
    korvane_sub_dev_prs_h *release() { return items_.release(); }

    /// Adds the elements of the document. Returns false, with a log line, if one lacks a member or memory runs out.
    bool fill(ReadyCall &call, const cJSON *array)
    {
        int index = 0;
        for (const cJSON *element = array->child; element; element = element->next)
            if (!add(call, index++, element))
                return false;
        return true;
    }

private:
    bool add(ReadyCall &call, int index, const cJSON *element)
    {
        const cJSON *device_id = cJSON_GetObjectItem(element, master::documents::presence::device_id.key);
        const cJSON *presence = cJSON_GetObjectItem(element, master::documents::presence::state.key);
        if (!call.require(cJSON_IsString(device_id) && cJSON_IsNumber(presence), KORVANE_ERROR_OPERATION_FAILED,
                          "cJSON_GetObjectItem() failed"_fmt)
                 .passed())
            return false;
        Owned<korvane_sub_dev_prs_s> made{make_zeroed<korvane_sub_dev_prs_s>()};
        if (made) {
            made->device_id = CText::copy(device_id->valuestring);
            made->presence = presence->valueint;
        }
        if (!call.require(made && made->device_id, KORVANE_ERROR_OUT_OF_MEMORY,
                          "Memory allocation failed for sub_dev_prs_list[%d]"_fmt, index)
                 .passed())
            return false;
        items_[index] = made.release();
        return true;
    }

    ZeroedArray<korvane_sub_dev_prs_h> items_;
    int count_;
};

void _get_group_id_cb(void *user_data, const char *group_id)
{
    CompletedRequest request{user_data};
    request.deliver<korvane_get_group_id_cb, "group_id [%s]">(group_id);
}

} // namespace

int korvane_register_sub_device(korvane_h handle, int device_no, const char *device_id)
{
    AgentCall call{handle, since(1, 1)};
    ReadyCall &ready = call.require_given(device_id, "device_id")
                           .require(device_no > 0, "Invalid device_no [%d]"_fmt, device_no)
                           .ready();
    if (!ready)
        return ready.result();

    log::info()("device_no [%d]"_fmt, device_no);
    return ready.invoke<master::register_sub_device>(device_no, device_id);
}

int korvane_unregister_sub_device(korvane_h handle, int device_no)
{
    AgentCall call{handle, since(1, 1)};
    call.require(device_no > 0, "Invalid device_no [%d]"_fmt, device_no);
    return call.ready().invoke<master::unregister_sub_device>(device_no);
}

int korvane_set_sub_device_presence(korvane_h handle, const int *device_no_list, int device_count, bool presence)
{
    AgentCall call{handle, since(1, 4)};
    ReadyCall &ready = call.require_given(device_no_list, "device_no_list")
                           .require(device_count > 0, "Invalid device_count [%d]"_fmt, device_count)
                           .ready();
    if (!ready)
        return ready.result();

    log::info()("device_count [%d], presence [%s]"_fmt, device_count, presence ? "true" : "false");
    rpc_port_array_int_h created = nullptr;
    rpc_port_array_int_create(&created);
    Owned<master::Array<int>> numbers{created};
    if (!ready.require(bool(numbers), KORVANE_ERROR_OUT_OF_MEMORY, "rpc_port_array_int_create() is failed"_fmt)
             .passed())
        return ready.result();
    if (!ready
             .require(rpc_port_array_int_set_array_ints(numbers.get(), device_no_list, device_count) == 0,
                      KORVANE_ERROR_OUT_OF_MEMORY, "rpc_port_array_int_set_array_ints() is failed"_fmt)
             .passed())
        return ready.result();
    return ready.invoke<master::set_sub_device_presence>(numbers.get(), presence);
}

int korvane_get_sub_device_presence_list(korvane_h handle, korvane_sub_dev_prs_h **prs_list, int *count)
{
    AgentCall call{handle, since(1, 6)};
    ReadyCall &ready = call.require_given(prs_list, "prs_list_h").require_given(count, "count").ready();
    if (!ready)
        return ready.result();

    CText text;
    if (int code = ready.invoke<master::get_sub_device_presence>(text.out()))
        return code;
    if (!ready.require(bool(text), KORVANE_ERROR_OPERATION_FAILED, "prs_list_json_str is NULL"_fmt).passed())
        return ready.result();
    const Json array = parse_document(text.get());
    if (!ready.require(cJSON_IsArray(array.get()), KORVANE_ERROR_OPERATION_FAILED, "json_array is NULL"_fmt).passed())
        return ready.result();
    const int size = cJSON_GetArraySize(array.get());
    if (!ready.require(size > 0, KORVANE_ERROR_NO_DATA, "There is no registered sub device"_fmt).passed())
        return ready.result();

    PresenceList list{size};
    if (!ready.require(bool(list), KORVANE_ERROR_OUT_OF_MEMORY, "sub_dev_prs_list is NULL"_fmt).passed())
        return ready.result();
    if (!list.fill(ready, array.get()))
        return ready.result();
    *prs_list = list.release();
    *count = size;
    return KORVANE_ERROR_NONE;
}

int korvane_get_sub_device_presence(korvane_sub_dev_prs_h prs, char **device_id, int *presence)
{
    LocalCall call{prs, since(1, 6)};
    if (!call.require_given(device_id, "device_id").require_given(presence, "presence").passed())
        return call.result();

    log::info()("device id = [%s], presence state = [%d]"_fmt, prs->device_id.get(), prs->presence);
    CText copy = CText::copy(prs->device_id.get());
    if (!call.require_memory(bool(copy)).passed())
        return call.result();
    *device_id = copy.release();
    *presence = prs->presence;
    return KORVANE_ERROR_NONE;
}

int korvane_release_sub_device_presence_list(korvane_sub_dev_prs_h *prs_list, int count)
{
    LocalCall call{prs_list, since(1, 6)};
    if (!call.require(count > 0, "Invalid count [%d]"_fmt, count).passed())
        return call.result();

    destroy_items(prs_list, count);
    free(prs_list);
    return KORVANE_ERROR_NONE;
}

int korvane_get_group_id(korvane_h handle, korvane_get_group_id_cb callback, void *user_data)
{
    AgentCall call{handle, since(1, 5)};
    call.require_given(callback, "get_group_id_cb");
    return request_once<master::get_group_id, _get_group_id_cb>(call.ready(), callback, user_data);
}
