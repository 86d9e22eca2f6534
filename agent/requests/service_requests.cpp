// SPDX-License-Identifier: Apache-2.0
#include "handlers.hpp"

namespace kv::virtual_agent {

Result<master::is_update_ready> Handlers::handle(master::is_update_ready, Call &)
{
    return {0, {state_.update_ready}};
}

Result<master::start> Handlers::handle(master::start, Call &, const char *, int, int)
{
    state_.running = true;
    return {};
}

Result<master::start_async> Handlers::handle(master::start_async, Call &call, const char *, int, int,
                                             const DelegateOf<master::start_async_cb> &delegate)
{
    state_.running = true;
    complete_by_event(call, delegate, 0);
    return {};
}

Result<master::stop> Handlers::handle(master::stop, Call &)
{
    state_.running = false;
    return {};
}

Result<master::set_api_version> Handlers::handle(master::set_api_version, Call &call, int major, int minor, int patch)
{
    call.peer.api_version = {major, minor, patch};
    return {};
}

Result<master::get_device_id> Handlers::handle(master::get_device_id, Call &)
{
    return {0, {state_.device_id}};
}

Result<master::get_easysetup_status> Handlers::handle(master::get_easysetup_status, Call &)
{
    return {0, {state_.set_up}};
}

} // namespace kv::virtual_agent
