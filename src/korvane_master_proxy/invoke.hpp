// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "call_text.hpp"

namespace kv::proxy {

/// One request and its reply, by the method's text. The agent's result, or -1 when there is none.
int invoke(rpc_port_proxy_kv_master_h handle, const char *method_text, const Value *values);

/// Calls a method with the arguments that its description says, and pointers for its out values.
template <class M, class... Values>
int invoke(rpc_port_proxy_kv_master_h handle, Values... values)
{
    return invoke(handle, text_of_method<M>.text, Arguments<M>{values...}.values.data());
}

} // namespace kv::proxy
