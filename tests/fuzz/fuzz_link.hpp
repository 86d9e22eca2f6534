// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/korvane_master_proxy/connection.hpp"
#include "support/fake_platform.hpp"

#include <cstdio>
#include <cstdlib>

/// A connected proxy over the fake platform, for one fuzz input.
class FuzzLink {
public:
    FuzzLink()
    {
        kv::test::FakePlatform::instance().reset();
        static const rpc_port_proxy_kv_master_callback_s no_callbacks{};
        if (rpc_port_proxy_kv_master_create("agent", &no_callbacks, nullptr, &handle) != 0)
            std::abort();
        proxy().fire_connected();
    }
    FuzzLink(const FuzzLink &) = delete;
    FuzzLink &operator=(const FuzzLink &) = delete;

    /// With every input, all handles of the platform must be used correctly and released.
    ~FuzzLink()
    {
        rpc_port_proxy_kv_master_destroy(handle);
        auto &platform = kv::test::FakePlatform::instance();
        for (const auto &what : platform.take_misuses()) {
            std::fprintf(stderr, "misuse of the platform: %s\n", what.c_str());
            std::abort();
        }
        for (const auto &what : platform.alive()) {
            std::fprintf(stderr, "left alive: %s\n", what.c_str());
            std::abort();
        }
    }

    kv::test::Proxy &proxy() { return kv::test::FakePlatform::instance().proxy(); }

    rpc_port_proxy_kv_master_h handle = nullptr;
};
