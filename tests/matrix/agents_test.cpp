// SPDX-License-Identifier: Apache-2.0
#include "matrix_test.hpp"

namespace kv::test::matrix {
namespace {

/// Calls every function with every agent that may be installed.
class WithEveryAgent : public MatrixTest {
protected:
    static void TearDownTestSuite() { tally.print(std::to_string(std::size(agents)) + " agents"); }

    LogLines refusal(int agent)
    {
        if (agent == absent)
            return {api_error(function().name, "Not Supported")};
        if (agent < function().since)
            return {api_error(function().name, "agent version is lower!!")};
        return {};
    }

    static inline Tally tally;
};

INSTANTIATE_TEST_SUITE_P(Call, WithEveryAgent, ::testing::ValuesIn(functions()), name_of);

TEST_P(WithEveryAgent, IsRefusedOrSendsTheRequestOfThatAgent)
{
    ++tally.functions;
    for (const int agent : agents) {
        cell(tally, "agent " + shown_agent(agent), [&] {
            const Outcome outcome = world.outcome_of(function(), agent);
            EXPECT_EQ(outcome.result, result_with(function(), agent));
            EXPECT_TRUE(outcome.said_called);
            EXPECT_EQ(outcome.errors, refusal(agent));
            const auto request = outcome.result == ok ? request_with(function(), agent) : std::nullopt;
            ASSERT_EQ(outcome.requests.size(), request ? 1U : 0U);
            if (request) {
                EXPECT_EQ(outcome.requests[0].method, request->method);
                EXPECT_EQ(outcome.requests[0].command, request->command);
            }
        });
    }
}

} // namespace
} // namespace kv::test::matrix
