// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_HPP
#define KORVANE_HPP

/// The C++ API of Korvane: header-only, C++17, over korvane.h. Link with -lkorvane.
///
///     #include <korvane.hpp>
///
///     auto opened = korvane::Device::open([](korvane::ConnectionStatus status, std::error_code reason) { ... });
///
/// docs/cpp.md leads from an empty file to a running device. The parts:
///
/// | header           | subject                                                                          |
/// |------------------|----------------------------------------------------------------------------------|
/// | device.hpp       | Device, a session with the agent: every function of the library                  |
/// | device/...       | the functions of Device by subject: core, wifi, setup, cloud, identity, ...      |
/// | result.hpp       | Result<T>, Errc, error_category(), Error                                         |
/// | subscription.hpp | Subscription, the registration of a handler                                      |
/// | values.hpp       | AccessPoint, CloudInfo, PlatformInfo, ...: what an application sends             |
/// | received.hpp     | ChosenAccessPoint, DeviceProvisioning, HdrTokenInfo, ...: what it receives       |
/// | coroutine.hpp    | co_await for one-shot requests (C++20)                                           |
/// | exceptions.hpp   | set_exception_handler(): exceptions that leave a callback                        |
/// | call.hpp, session.hpp | the inside of the above                                                     |

#include "korvane/device.hpp"
#include "korvane/exceptions.hpp"
#include "korvane/received.hpp"
#include "korvane/result.hpp"
#include "korvane/subscription.hpp"
#include "korvane/values.hpp"

#endif
