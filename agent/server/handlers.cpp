// SPDX-License-Identifier: Apache-2.0
#include "handlers.hpp"

namespace kv::virtual_agent {

Answer<master::is_update_ready> Handlers::answer(master::is_update_ready, Call &)
{
    return {0, {state_.update_ready}};
}

Answer<master::start> Handlers::answer(master::start, Call &, const char *, int, int)
{
    state_.running = true;
    return {};
}

Answer<master::start_async> Handlers::answer(master::start_async, Call &call, const char *, int, int,
                                             const DelegateOf<master::start_async_cb> &delegate)
{
    state_.running = true;
    answer_by_event(call, delegate, 0);
    return {};
}

Answer<master::stop> Handlers::answer(master::stop, Call &)
{
    state_.running = false;
    return {};
}

Answer<master::set_api_version> Handlers::answer(master::set_api_version, Call &call, int major, int minor, int patch)
{
    call.peer.api_version = {major, minor, patch};
    return {};
}

Answer<master::get_device_id> Handlers::answer(master::get_device_id, Call &)
{
    return {0, {state_.device_id}};
}

Answer<master::get_easysetup_status> Handlers::answer(master::get_easysetup_status, Call &)
{
    return {0, {state_.set_up}};
}

} // namespace kv::virtual_agent
