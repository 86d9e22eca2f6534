// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform_fixture.hpp"

#include "src/korvane_master_proxy/connection.hpp"
#include "src/korvane_master_proxy/functions/methods.hpp"

#include <string>
#include <vector>

namespace kv::test {

using ProxyHandle = rpc_port_proxy_kv_master_h;

/// A proxy of its own, without the exported functions on top.
class ProxyTest : public PlatformTest {
protected:
    ProxyHandle create();
    /// Created and connected; the log and the platform's calls are forgotten.
    ProxyHandle connect();
    void destroy();
    void end_run() override;

    void arrives(Bytes parcel) { platform.main_port().push(std::move(parcel)); }
    const std::vector<Bytes> &sent() { return platform.main_port().sent; }
    /// A last result that no call leaves behind by itself.
    static constexpr int stale_last_result = 4711;

    ProxyHandle proxy = nullptr;
    std::vector<std::string> seen; // which callbacks of the connection were called
};

/// A delegate with a number that a golden parcel can hold.
template <class Delegate>
Delegate numbered(Delegate delegate, int seq_id)
{
    delegate->seq_id = seq_id;
    return delegate;
}

} // namespace kv::test
