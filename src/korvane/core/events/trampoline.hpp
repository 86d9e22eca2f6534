// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane_master_proxy/delegate.hpp"

/// Trampolines in constant tables.
namespace kv::api {

/// Returns a trampoline, which a constant cannot hold as an untyped function.
using TrampolineOf = proxy::AnyFunction (*)();

/// Returns `Trampoline`, which must handle the events of D.
template <class D, proxy::DelegateCallback<D> Trampoline>
inline constexpr TrampolineOf trampoline_of =
    []() -> proxy::AnyFunction { return reinterpret_cast<proxy::AnyFunction>(Trampoline); };

} // namespace kv::api
