// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/registration.hpp"
#include "src/korvane_master_proxy/records.hpp"

using namespace kv;
using namespace kv::api;

namespace {

WifiApSlot &slot_of(korvane_h handle)
{
    return handle->wifi_ap_provisioning;
}

/// Takes what the event brought, if somebody is to be told, in place of what the last event brought. The callback may
/// do anything, deinitialise included: nothing is touched after it.
template <class Convert>
void hold_and_deliver(void *user_data, Caller caller, Convert convert)
{
    korvane_h handle = handle_of(user_data, caller);
    if (!handle)
        return;
    WifiApSlot &slot = slot_of(handle);
    slot.held.reset();
    auto callback = slot.callback<0>();
    if (!callback)
        return;
    slot.held = convert();
    callback(handle, slot.held.get(), slot.user_data);
}

/// The access point, or none when there is no memory: the application is told all the same that there was one.
proxy::Owned<korvane_ap_info_s> held_clone(rpc_port_korvane_ap_info_h received)
{
    auto ap_info = make_two_form<korvane_ap_info_s>(Form::record);
    rpc_port_korvane_ap_info_h clone = nullptr;
    if (!ap_info || rpc_port_korvane_ap_info_clone(received, &clone) != 0)
        return {};
    ap_info->any_record = clone;
    return ap_info;
}

proxy::Owned<korvane_ap_info_s> held_document(const char *text)
{
    auto ap_info = make_two_form<korvane_ap_info_s>(Form::json);
    if (!ap_info)
        return {};
    ap_info->json.reset(cJSON_Parse(text));
    return ap_info->json ? std::move(ap_info) : proxy::Owned<korvane_ap_info_s>{};
}

void _wifi_ap_provisioning_cb(void *user_data, rpc_port_korvane_ap_info_h received)
{
    hold_and_deliver(user_data, Caller::here(), [=] { return held_clone(received); });
}

void _wifi_ap_provisioning_cb_v2(void *user_data, const char *text)
{
    hold_and_deliver(user_data, Caller::here(), [=] { return held_document(text); });
}

/// What a generation of agents has of its own: an end of the slot, and the methods that carry its delegate.
struct Generation {
    int end;
    const CreateDelegate *create;
    const char *set_method;
    const char *unset_method;
};

template <class SetMethod, class UnsetMethod, auto Trampoline>
constexpr Generation generation_with_end(int end)
{
    return {end, Ends<typename SetMethod::in, Trampoline>::create, proxy::text_of_method<SetMethod>.text,
            proxy::text_of_method<UnsetMethod>.text};
}

constexpr Generation record_generation =
    generation_with_end<master::set_wifi_ap_provisioning_cb, master::unset_wifi_ap_provisioning_cb,
                        _wifi_ap_provisioning_cb>(0);
constexpr Generation json_generation =
    generation_with_end<master::set_wifi_ap_provisioning_cb_v2, master::unset_wifi_ap_provisioning_cb_v2,
                        _wifi_ap_provisioning_cb_v2>(1);

const Generation &generation_of_agent()
{
    return korvane_ap_info_s::of_agent() == Form::record ? record_generation : json_generation;
}

/// The end that the installed agent uses. The other one, left from before an update, is left alone.
SlotEnds end_in_use(WifiApSlot &slot, const Generation &generation)
{
    return {&slot.ends[generation.end], generation.create, 1};
}

void set_callback(WifiApSlot &slot, korvane_wifi_ap_provisioning_cb callback, void *user_data)
{
    for (SlotEnd &end : slot.ends)
        end.callback = reinterpret_cast<AnyFunction>(callback);
    slot.user_data = user_data;
}

void let_go_aloud(WifiApSlot &slot, Caller caller)
{
    log::info(caller)("ap_info_h is already allocated, thus it will be released now"_fmt);
    slot.held.reset();
}

} // namespace

int korvane_set_wifi_ap_provisioning_cb(korvane_h handle, korvane_wifi_ap_provisioning_cb callback, void *user_data)
{
    AgentCall call{handle, any_agent};
    if (!call.require_given(callback, "callback").ready())
        return call.result();

    WifiApSlot &slot = slot_of(handle);
    if (slot.held)
        let_go_aloud(slot, call.caller());
    const Generation &generation = generation_of_agent();
    const SlotEnds end = end_in_use(slot, generation);
    end.replace_delegates(call);
    const proxy::Value delegate{end.ends->delegate};
    const int code = call.invoke(generation.set_method, &delegate);
    // Unlike other pairs, this one keeps no delegate that the agent did not take.
    if (code == KORVANE_ERROR_NONE)
        set_callback(slot, callback, user_data);
    else
        end.dispose_delegates(handle);
    return code;
}

int korvane_unset_wifi_ap_provisioning_cb(korvane_h handle)
{
    AgentCall call{handle, any_agent};
    if (!call.ready())
        return call.result();

    WifiApSlot &slot = slot_of(handle);
    set_callback(slot, nullptr, nullptr);
    // The record is released without a word here.
    if (slot.held && slot.held->form == Form::json)
        let_go_aloud(slot, call.caller());
    slot.held.reset();
    const Generation &generation = generation_of_agent();
    end_in_use(slot, generation).drop_delegates(call);
    return call.invoke(generation.unset_method, nullptr);
}
