// SPDX-License-Identifier: Apache-2.0
// The work of a list that is made in a loop, counted in instructions: twice the entries are twice the work.
#include "support/agent_process.hpp"
#include "testing/support/child_process.hpp"
#include "testing/support/read_file.hpp"

#include <package_info_write.h>

#include <gtest/gtest.h>

using namespace kv::test;

namespace {

double instructions_of_list(const AgentHome &home, int count, const char *direction)
{
    const std::string result = home.root() / "counts";
    output_of({.words = {"valgrind", "--quiet", "--tool=callgrind", "--callgrind-out-file=" + result,
                         KORVANE_SET_LIST_PATH, std::to_string(count), direction}});
    const std::string counts = read_file(result);
    const std::string member = "totals: ";
    const std::size_t at = counts.find(member);
    EXPECT_NE(at, std::string::npos) << counts.substr(0, 200);
    return at == std::string::npos ? 0 : std::stod(counts.substr(at + member.size()));
}

class ListGrowth : public testing::TestWithParam<const char *> {};

TEST_P(ListGrowth, IsLinear)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "valgrind cannot run a program with the address sanitizer";
#endif
    AgentHome home;
    ASSERT_EQ(package_info_install("org.korvane.agent", "2.3.0", nullptr, nullptr, nullptr), 0);
    constexpr int step = 500;
    const double one = instructions_of_list(home, 1 * step, GetParam());
    const double two = instructions_of_list(home, 2 * step, GetParam());
    const double three = instructions_of_list(home, 3 * step, GetParam());
    EXPECT_GT(two - one, 1000.0 * step) << "the list is in the wire format that is slow";
    EXPECT_LT((three - two) / (two - one), 1.05) << one << ", " << two << ", " << three;
}

INSTANTIATE_TEST_SUITE_P(InBothDirections, ListGrowth, testing::Values("forward", "backward"),
                         [](const auto &row) { return std::string{row.param}; });

} // namespace
