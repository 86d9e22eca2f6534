// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/proxy_fixture.hpp"

#include <cstdlib>

namespace kv::test {
namespace {

TEST(FirstDelegate, OfAProcessHasSeqId1)
{
    auto *delegate = rpc_port_kv_master_user_confirm_cb_create([](void *) {}, false, nullptr);
    ASSERT_NE(delegate, nullptr);
    EXPECT_EQ(delegate->seq_id, 1);
    std::free(delegate);
}

} // namespace
} // namespace kv::test
