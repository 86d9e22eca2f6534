// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/events/event.hpp"

/// PINs of each kind, the end of the soft access point, and two switches. No line logs a PIN or its length.

using namespace kv;
using namespace kv::api;

namespace {

void _pin_generated_cb(void *user_data, const char *pin, int value)
{
    log::info()("value [%d]"_fmt, value);
    deliver<korvane_pin_generated_cb>(user_data, Caller::here(), pin, value);
}

void _ultrasound_pin_generated_cb(void *user_data, const char *pin, int value)
{
    log::info()("value [%d]"_fmt, value);
    deliver<korvane_ultrasound_pin_generated_cb>(user_data, Caller::here(), pin, value);
}

using Pin =
    RegistrationOf<master::events::pin, "callback is NULL", ConvertedEvent<korvane_pin_generated_cb, _pin_generated_cb>,
                   PlainEvent<korvane_pin_display_closed_cb, "", "_pin_display_closed_cb">>;

using UltrasoundPin = RegistrationOf<master::events::ultrasound_pin, "callback is NULL",
                                     ConvertedEvent<korvane_ultrasound_pin_generated_cb, _ultrasound_pin_generated_cb>,
                                     PlainEvent<korvane_ultrasound_pin_stopped_cb>>;

using StopSoftAp =
    RegistrationOf<master::events::stop_soft_ap, "callback is NULL", PlainEvent<korvane_stop_soft_ap_cb>>;

} // namespace

int korvane_set_pin_cb(korvane_h handle, korvane_pin_generated_cb generated,
                       korvane_pin_display_closed_cb display_closed, void *user_data)
{
    return Pin::set(Caller::here(), handle, generated, display_closed, user_data);
}

int korvane_unset_pin_cb(korvane_h handle)
{
    return Pin::unset(Caller::here(), handle);
}

int korvane_set_ultrasound_pin_cb(korvane_h handle, korvane_ultrasound_pin_generated_cb generated,
                                  korvane_ultrasound_pin_stopped_cb stopped, void *user_data)
{
    return UltrasoundPin::set(Caller::here(), handle, generated, stopped, user_data);
}

int korvane_unset_ultrasound_pin_cb(korvane_h handle)
{
    return UltrasoundPin::unset(Caller::here(), handle);
}

int korvane_set_random_pin(korvane_h handle, const char *pin)
{
    AgentCall call{handle, since(1, 4)};
    call.require_given(pin, "pin");
    call.require(!pin || *pin, "pin is not valid"_fmt);
    return call.ready().invoke<master::set_random_pin>(pin);
}

int korvane_unset_random_pin(korvane_h handle)
{
    AgentCall call{handle, since(1, 4)};
    return call.ready().invoke<master::unset_random_pin>();
}

int korvane_set_preconfigured_pin(korvane_h handle, const char *pin)
{
    AgentCall call{handle, any_agent};
    call.require_given(pin, "pin");
    return call.ready().invoke<master::set_preconfigured_pin>(pin);
}

int korvane_set_stop_soft_ap_cb(korvane_h handle, korvane_stop_soft_ap_cb callback, void *user_data)
{
    return StopSoftAp::set(Caller::here(), handle, callback, user_data);
}

int korvane_unset_stop_soft_ap_cb(korvane_h handle)
{
    return StopSoftAp::unset(Caller::here(), handle);
}

int korvane_set_mot_status(korvane_h handle, bool enable)
{
    AgentCall call{handle, any_agent};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    log::info()("enable [%s]"_fmt, enable ? "true" : "false");
    return ready.invoke<master::set_mot_status>(enable);
}

int korvane_set_gatt_ble(korvane_h handle, bool enable)
{
    AgentCall call{handle, since(1, 4)};
    ReadyCall &ready = call.ready();
    if (!ready)
        return ready.result();

    log::info()("enable [%s]"_fmt, enable ? "true" : "false");
    return ready.invoke<master::set_gatt_ble>(enable);
}
